# Sourced by tests/target/x86 and benchmarks/measure: the x86-64 machine, Debian's own kernel in qemu-system-x86_64.

x86_libraries=(/lib/x86_64-linux-gnu /usr/lib/x86_64-linux-gnu)

# x86_kernel: sets `kernel` to a directory with vmlinuz, the modules and busybox.
x86_kernel() {
  local package version busybox work
  package_version linux-image-amd64 >/dev/null
  package=$(apt-cache depends linux-image-amd64 | sed -n 's/.*Depends: \(linux-image-[0-9].*\)/\1/p')
  version=$(package_version "$package") || exit 1
  busybox=$(package_version busybox-static) || exit 1
  kernel=$target_cache/x86-kernel-$package-$version-${busybox//:/_}-i2c-virtio
  [ -d "$kernel" ] && return
  progress "downloading the kernel $version"
  mkdir -p "$target_cache"
  work=$(mktemp -d "$target_cache/unpacking.XXXXXX")
  scratch+=("$work")
  unpack_package "$package" "$work/package"
  unpack_package busybox-static "$work/package"
  mkdir "$work/kernel"
  # Outside of a condition, or -e would be without effect.
  (set -e; build_i2c_virtio "$work" "${package#linux-image-}") >build/target/x86-kernel.log 2>&1
  [ $? -eq 0 ] ||
    fail "cannot build the module i2c-virtio: $(tail -n 1 build/target/x86-kernel.log)"
  cp "$work"/package/boot/vmlinuz-* "$work/kernel/vmlinuz" &&
    copy_modules "$work" i2c-dev i2c-stub virtio_ring virtio virtio_pci_legacy_dev virtio_pci_modern_dev virtio_pci &&
    cp "$work/package/bin/busybox" "$work/kernel" &&
    keep "$work/kernel" "$kernel" || fail "the packages $package and busybox-static do not hold what is expected"
  rm -rf "$work"
}

# copy_modules WORK NAME...: modules of the kernel's package.
copy_modules() {
  local work=$1 name
  shift
  for name in "$@"; do
    find "$work/package/lib/modules" -name "$name.ko" -exec cp {} "$work/kernel" \;
    [ -e "$work/kernel/$name.ko" ] || return 1
  done
}

# build_i2c_virtio WORK RELEASE: the one module that Debian leaves out, built against the headers of its kernel.
build_i2c_virtio() {
  local work=$1 headers=$1/package/usr/src/linux-headers-$2 source=$kernel_source_package file
  file=drivers/i2c/busses/i2c-virtio.c
  unpack_package "linux-headers-$2" "$work/package"
  unpack_package "linux-headers-${2%-amd64}-common" "$work/package"
  unpack_package "${source/source/kbuild}" "$work/package"
  unpack_package "$source" "$work/package"
  mkdir "$work/module"
  tar -xf "$work/package/usr/src/$source.tar.xz" -C "$work/module" --strip-components=4 "$source/$file"
  echo 'obj-m := i2c-virtio.o' >"$work/module/Makefile"
  sed -i "s:/usr/src:$work/package/usr/src:" "$headers/Makefile" # its place when it is installed
  make -C "$headers" "M=$work/module" modules
  cp "$work/module/i2c-virtio.ko" "$work/kernel"
}

# pack_x86_root FILE PROGRAM...: the initial file system with init, the modules and the programs of build/release/bin, or
# with their whole path.
pack_x86_root() {
  local file=$1 root program
  shift
  root=$(mktemp -d)
  scratch+=("$root")
  for program in "$@"; do
    [[ $program == /* ]] || program=build/release/bin/$program
    copy_program "$program" bin "$root" "${x86_libraries[@]}"
  done
  mkdir -p "$root/lib64" "$root/lib/modules"
  cp -L /lib64/ld-linux-x86-64.so.2 "$root/lib64/"
  cp build/release/bin/target_init "$root/init"
  cp "$kernel/busybox" "$root/bin/"
  cp "$kernel"/*.ko "$root/lib/modules/"
  pack_scenarios "$root"
  pack_root "$root" "$file"
}

# x86_machine FILE WORD...: sets `machine` to the command that starts it with words for the kernel's command line. On a
# computer that is overloaded the kernel would find the emulated timer too slow and stop; it is not to check it. The memory
# can be shared with the simulated card.
x86_machine() {
  local file=$1
  shift
  machine=(qemu-system-x86_64 -object memory-backend-memfd,id=memory,size=512M,share=on -M pc,memory-backend=memory
    -m 512 -kernel "$kernel/vmlinuz" -initrd "$file" -append "console=ttyS0,115200 quiet panic=1 no_timer_check $*")
}
