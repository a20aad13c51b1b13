# Sourced by benchmarks/measure: what is measured on real kernels, in the machines of the target tests.
. tests/target/machine.sh
. tests/target/x86_machine.sh
. tests/target/powerpc_machine.sh

# The shell alone takes many minutes of emulation.
machine_timeout_s=3600

# values LOG: the measured values as lines of a table.
values() { sed -n 's/^# measured: \(.*\): \(.*\)$/\1,\2/p' "$1"; }

# measure_kernel CYCLES: the clock counts the kernel's instructions, too, however busy the computer is.
measure_kernel() {
  local more_options=("${counting_clock[@]}") programs=(poe_service bare_loop cycle_cost)
  mkdir -p build/target
  x86_kernel
  build release "${programs[@]}" target_init
  pack_x86_root "$results/x86.cpio.gz" "${programs[@]}" "$PWD/benchmarks/i2cget_loop" "$(command -v i2cget)" "$(command -v strace)"
  run_on_machine x86 "$results/x86.cpio.gz" "$results/x86" program=/bin/cycle_cost "CYCLES=$1" -- build/release/bin/cycle_cost
  { echo item,subject,quantity,value; values "$results/x86.log"; } >"$results/kernel.csv"
}

measure_memory() {
  local programs=(poe_service bare_loop bare_loop_static bare_loop_with_libraries memory_cost)
  mkdir -p build/target
  install_packages "$packages_for_powerpc"
  powerpc_kernel
  build powerpc "${programs[@]}" poe_service_static target_init
  pack_powerpc_root "$results/powerpc.cpio.gz" "${programs[@]}"
  run_on_machine powerpc "$results/powerpc.cpio.gz" "$results/powerpc" program=/bin/memory_cost -- \
    "${emulator[@]}" build/powerpc/bin/memory_cost
  { echo item,subject,quantity,value; values "$results/powerpc.log"; } >"$results/memory.csv"
}

# start_transfers: how many transfers the service makes before its first status message: those before its second cycle,
# which begins with the register that shows a reset.
start_transfers() {
  local record=$results/start.record
  timeout 5 build/release/bin/own_namespaces build/release/bin/poe_card --record "$record" --log "$results/start.log" -- \
    build/release/bin/poe_service >/dev/null
  awk '$1 == "R" && $2 == "0x90" && ++cycles == 2 { print NR - 1; exit }' "$record"
}

measure_start() {
  local programs=(poe_service bare_loop bare_loop_with_libraries start_cost) transfers name
  local more_options=("${counting_clock[@]}") words
  mkdir -p build/target
  install_packages "$packages_for_powerpc"
  build release "${programs[@]}" poe_card own_namespaces target_init
  build powerpc "${programs[@]}" poe_service_static target_init
  transfers=$(start_transfers)
  [ -n "$transfers" ] || fail "the transfers of a start are not in $results/start.record"
  words=(program=/bin/start_cost "TRANSFERS=$transfers")
  x86_kernel
  pack_x86_root "$results/x86.cpio.gz" "${programs[@]}"
  run_on_machine x86 "$results/x86.cpio.gz" "$results/x86.start" "${words[@]}" -- build/release/bin/start_cost
  powerpc_kernel
  pack_powerpc_root "$results/powerpc.cpio.gz" "${programs[@]}"
  run_on_machine powerpc "$results/powerpc.cpio.gz" "$results/powerpc.start" "${words[@]}" -- \
    "${emulator[@]}" build/powerpc/bin/start_cost
  {
    echo item,subject,quantity,value
    for name in x86 powerpc; do
      values "$results/$name.start.log" | sed "s/^start,/start,$name: /"
    done
  } >"$results/start.csv"
}
