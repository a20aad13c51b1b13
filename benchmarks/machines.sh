# Sourced by benchmarks/measure: what is measured on real kernels, in the machines of the target tests.
. tests/target/machine.sh
. tests/target/x86_machine.sh
. tests/target/powerpc_machine.sh

# The shell alone takes many minutes of emulation.
machine_timeout_s=3600

# values LOG: the measured values as lines of a table.
values() { sed -n 's/^# measured: \(.*\): \(.*\)$/\1,\2/p' "$1"; }

# measure_kernel CYCLES: the machine's clock counts instructions, 4 ns each, those of the kernel too, so that every run gives
# the same, however busy the computer is.
measure_kernel() {
  local log=$results/x86.log filter=CycleCost.* machine
  mkdir -p build/target
  x86_kernel
  build release poe_service bare_loop target_init cycle_cost
  pack_x86_root "$results/x86.cpio.gz" poe_service bare_loop cycle_cost "$PWD/benchmarks/i2cget_loop" "$(command -v i2cget)"
  GTEST_FILTER=$filter expected_names build/release/bin/cycle_cost >"$results/x86.names"
  x86_machine "$results/x86.cpio.gz" program=/bin/cycle_cost "GTEST_FILTER=$filter" "CYCLES=$1"
  run_machine "$log" "${machine[@]}" -icount shift=2,sleep=off
  judge "$log" "$results/x86.names"
  { echo item,subject,quantity,value; values "$log"; } >"$results/kernel.csv"
}

measure_memory() {
  local log=$results/powerpc.log filter=MemoryCost.*
  mkdir -p build/target
  install_packages "$packages_for_powerpc"
  powerpc_kernel
  build powerpc poe_service poe_service_static bare_loop bare_loop_static bare_loop_with_libraries target_init memory_cost
  pack_powerpc_root "$results/powerpc.cpio.gz" poe_service bare_loop bare_loop_static bare_loop_with_libraries memory_cost
  GTEST_FILTER=$filter expected_names qemu-ppc -L /usr/powerpc-linux-gnu build/powerpc/bin/memory_cost >"$results/powerpc.names"
  run_powerpc_machine "$log" "$results/powerpc.cpio.gz" program=/bin/memory_cost "GTEST_FILTER=$filter"
  judge "$log" "$results/powerpc.names"
  { echo item,subject,quantity,value; values "$log"; } >"$results/memory.csv"
}

# start_transfers: how many transfers the service makes before its first status message: those before its second cycle,
# which begins with the register that shows a reset.
start_transfers() {
  local record=$results/start.record
  timeout 5 build/release/bin/own_namespaces build/release/bin/poe_card --record "$record" --log "$results/start.log" -- \
    build/release/bin/poe_service >/dev/null
  awk '$1 == "R" && $2 == "0x90" && ++cycles == 2 { print NR - 1; exit }' "$record"
}

# measure_start_on NAME TRANSFERS COMMAND...: the machine's clock counts instructions, 4 ns each, so that every run gives the
# same. COMMAND runs the program here and lists its tests.
measure_start_on() {
  local name=$1 transfers=$2 place=$results/$1.start machine
  shift 2
  expected_names "$@" >"$place.names"
  "${name}_machine" "$results/$name.cpio.gz" program=/bin/start_cost "TRANSFERS=$transfers"
  run_machine "$place.log" "${machine[@]}" -icount shift=2,sleep=off
  judge "$place.log" "$place.names"
}

measure_start() {
  local programs=(poe_service bare_loop bare_loop_with_libraries start_cost) transfers name
  mkdir -p build/target
  install_packages "$packages_for_powerpc"
  build release "${programs[@]}" poe_card own_namespaces target_init
  build powerpc "${programs[@]}" poe_service_static target_init
  transfers=$(start_transfers)
  [ -n "$transfers" ] || fail "the transfers of a start are not in $results/start.record"
  x86_kernel
  pack_x86_root "$results/x86.cpio.gz" "${programs[@]}"
  measure_start_on x86 "$transfers" build/release/bin/start_cost
  powerpc_kernel
  pack_powerpc_root "$results/powerpc.cpio.gz" "${programs[@]}"
  measure_start_on powerpc "$transfers" qemu-ppc -L /usr/powerpc-linux-gnu build/powerpc/bin/start_cost
  {
    echo item,subject,quantity,value
    for name in x86 powerpc; do
      values "$results/$name.start.log" | sed "s/^start,/start,$name: /"
    done
  } >"$results/start.csv"
}
