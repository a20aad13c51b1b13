# Sourced by tests/target/x86 and benchmarks/measure: the x86-64 machine, Debian's own kernel in qemu-system-x86_64.

x86_libraries=(/lib/x86_64-linux-gnu /usr/lib/x86_64-linux-gnu)

# x86_kernel: sets `kernel` to a directory with vmlinuz, the two modules and busybox.
x86_kernel() {
  local package version busybox work
  package_version linux-image-amd64 >/dev/null
  package=$(apt-cache depends linux-image-amd64 | sed -n 's/.*Depends: \(linux-image-[0-9].*\)/\1/p')
  version=$(package_version "$package") || exit 1
  busybox=$(package_version busybox-static) || exit 1
  kernel=$target_cache/x86-kernel-$package-$version-${busybox//:/_}
  [ -d "$kernel" ] && return
  progress "downloading the kernel $version"
  mkdir -p "$target_cache"
  work=$(mktemp -d "$target_cache/unpacking.XXXXXX")
  scratch+=("$work")
  unpack_package "$package" "$work/package"
  unpack_package busybox-static "$work/package"
  mkdir "$work/kernel"
  cp "$work"/package/boot/vmlinuz-* "$work/kernel/vmlinuz" &&
    find "$work/package/lib/modules" \( -name i2c-dev.ko -o -name i2c-stub.ko \) -exec cp {} "$work/kernel" \; &&
    cp "$work/package/bin/busybox" "$work/kernel" &&
    [ -e "$work/kernel/i2c-dev.ko" ] && [ -e "$work/kernel/i2c-stub.ko" ] &&
    keep "$work/kernel" "$kernel" || fail "the packages $package and busybox-static do not hold what is expected"
  rm -rf "$work"
}

# pack_x86_root FILE PROGRAM...: the initial file system with init, the modules and the programs of build/release/bin, or
# with their whole path.
pack_x86_root() {
  local file=$1 root program
  shift
  root=$(mktemp -d)
  scratch+=("$root")
  for program in "$@" "$(command -v strace)"; do
    [[ $program == /* ]] || program=build/release/bin/$program
    copy_program "$program" bin "$root" "${x86_libraries[@]}"
  done
  mkdir -p "$root/lib64" "$root/lib/modules"
  cp -L /lib64/ld-linux-x86-64.so.2 "$root/lib64/"
  cp build/release/bin/target_init "$root/init"
  cp "$kernel/busybox" "$root/bin/"
  cp "$kernel"/*.ko "$root/lib/modules/"
  pack_root "$root" "$file"
}

# run_x86_machine LOG FILE WORD...: runs it with words for the kernel's command line. On a computer that is overloaded the
# kernel would find the emulated timer too slow and stop; it is not to check it.
run_x86_machine() {
  local log=$1 file=$2
  shift 2
  run_machine "$log" qemu-system-x86_64 -m 512 -kernel "$kernel/vmlinuz" -initrd "$file" \
    -append "console=ttyS0,115200 quiet panic=1 no_timer_check $*"
}
