# Sourced by tests/target/powerpc: the kernel of the PowerPC machine, built from Debian's kernel sources and kept.

kernel_config=tests/target/powerpc_kernel.config

# powerpc_kernel: sets `kernel` to a directory with vmlinux and the modules; builds it when it is not there yet.
powerpc_kernel() {
  local version config_sum
  version=$(package_version "$kernel_source_package") || exit 1
  config_sum=$(grep '^CONFIG_' "$kernel_config" | sha256sum | cut -c1-16) # a comment makes no other kernel
  kernel=$target_cache/powerpc-kernel-$version-$config_sum
  [ -d "$kernel" ] && return
  progress "building the kernel $version (about 4 minutes)"
  mkdir -p "$target_cache"
  local work
  work=$(mktemp -d "$target_cache/building.XXXXXX")
  scratch+=("$work")
  # Outside of a condition, or -e would be without effect.
  (set -e; build_powerpc_kernel "$work") >build/target/powerpc-kernel.log 2>&1
  if [ $? -ne 0 ]; then
    tail -n 20 build/target/powerpc-kernel.log >&2
    fail "cannot build the kernel (the whole output is in build/target/powerpc-kernel.log)"
  fi
  keep "$work/kernel" "$kernel" || fail "cannot keep the kernel in $kernel"
  rm -rf "$work"
}

# build_powerpc_kernel DIRECTORY: leaves DIRECTORY/kernel.
build_powerpc_kernel() {
  local work=$1 make option
  unpack_package "$kernel_source_package" "$work/package"
  mkdir "$work/source" "$work/out" "$work/kernel"
  tar -xf "$work/package/usr/src/$kernel_source_package.tar.xz" -C "$work/source" --strip-components=1
  make=(make -C "$work/source" "O=$work/out" ARCH=powerpc CROSS_COMPILE=powerpc-linux-gnu- "-j$(nproc)")
  "${make[@]}" "KCONFIG_ALLCONFIG=$PWD/$kernel_config" allnoconfig
  # An option whose dependencies are not met disappears without a word.
  grep -E '^CONFIG_' "$kernel_config" | while read -r option; do
    grep -qx "$option" "$work/out/.config" || { echo "not in the configuration: $option"; exit 1; }
  done
  "${make[@]}" vmlinux modules
  powerpc-linux-gnu-strip -o "$work/kernel/vmlinux" "$work/out/vmlinux"
  cp "$work"/out/drivers/i2c/{i2c-dev,i2c-stub,busses/i2c-virtio}.ko "$work/kernel"
}
