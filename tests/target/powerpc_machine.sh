# Sourced by tests/target/powerpc and benchmarks/measure: the PowerPC machine, a kernel of tests/target/powerpc_kernel.sh in
# qemu-system-ppc.
. tests/target/powerpc_kernel.sh

# Runs a program of that machine here.
emulator=(qemu-ppc -L /usr/powerpc-linux-gnu)

# pack_powerpc_root FILE PROGRAM...: the initial file system with init, the modules and the programs of
# build/powerpc/bin. The static service is in a directory of its own, under the service's name.
pack_powerpc_root() {
  local file=$1 root program bin=build/powerpc/bin
  shift
  root=$(mktemp -d)
  scratch+=("$root")
  for program in "$@"; do
    copy_program "$bin/$program" bin "$root" /usr/powerpc-linux-gnu/lib
  done
  mkdir -p "$root/static" "$root/lib/modules"
  cp "$bin/poe_service_static" "$root/static/poe_service"
  cp "$bin/target_init" "$root/init"
  cp "$kernel"/*.ko "$root/lib/modules/"
  pack_scenarios "$root"
  pack_root "$root" "$file"
}

# powerpc_machine FILE WORD...: sets `machine` to the command that starts it with words for the kernel's command line. The
# memory can be shared with the simulated card.
powerpc_machine() {
  local file=$1
  shift
  machine=(qemu-system-ppc -object memory-backend-memfd,id=memory,size=512M,share=on -M ppce500,memory-backend=memory
    -cpu e500mc -m 512 -kernel "$kernel/vmlinux" -initrd "$file" -append "console=ttyS0,115200 quiet panic=1 $*")
}
