# Sourced by benchmarks/measure: what is measured on real kernels, in the machines of the target tests.
. tests/target/machine.sh
. tests/target/x86_machine.sh
. tests/target/powerpc_machine.sh

# The shell alone takes many minutes of emulation.
machine_timeout_s=3600

# values LOG: the measured values as lines of a table.
values() { sed -n 's/^# measured: \(.*\): \(.*\)$/\1,\2/p' "$1"; }

# measure_kernel CYCLES
measure_kernel() {
  local log=$results/x86.log filter=CycleCost.*
  mkdir -p build/target
  x86_kernel
  build release poe_service bare_loop target_init cycle_cost
  pack_x86_root "$results/x86.cpio.gz" poe_service bare_loop cycle_cost "$PWD/benchmarks/i2cget_loop" "$(command -v i2cget)"
  GTEST_FILTER=$filter expected_names build/release/bin/cycle_cost >"$results/x86.names"
  run_x86_machine "$log" "$results/x86.cpio.gz" program=/bin/cycle_cost "GTEST_FILTER=$filter" "CYCLES=$1"
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
