# Sourced by benchmarks/measure: what the operations of the engine take, beside the cycles.

measure_operations() {
  build release service_operations
  "$bin/service_operations" --benchmark_repetitions=9 --benchmark_report_aggregates_only=true \
    "--benchmark_out=$results/operations.out" --benchmark_out_format=csv >"$results/operations.log" 2>&1 ||
    fail "service_operations has failed (see $results/operations.log)"
  {
    echo "operation,processor time (ns)"
    sed -n 's/^"\(.*\)_median",[^,]*,[^,]*,\([^,]*\),ns.*/\1,\2/p' "$results/operations.out" |
      awk -F, '{ printf "%s,%.0f\n", $1, $2 }'
  } >"$results/operations.csv"
  [ "$(wc -l <"$results/operations.csv")" -gt 1 ] || fail "$results/operations.out has no medians"
}
