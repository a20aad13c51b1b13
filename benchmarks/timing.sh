# Sourced by benchmarks/measure: what takes its time, measured on the whole service with the bus of a real card's speed.

# timing FILE WORDS...: runs service_timing with queues and a console of its own, and ahead of everything else that the
# computer does where that is allowed.
timing() {
  local file=$1 first=()
  shift
  build release service_timing own_namespaces
  chrt --fifo 1 true 2>/dev/null && first=(chrt --fifo 1)
  "${first[@]}" "$bin/own_namespaces" "$bin/service_timing" "$@" >"$results/timing.out" ||
    fail "service_timing $* has failed"
  grep -vE '^(Now starting|\.\.\.)' "$results/timing.out" >"$file"
}

measure_latency() { timing "$results/latency.csv" latency "$1"; }
measure_load() { timing "$results/load.csv" load "$1"; }
measure_line() { timing "$results/line.csv" line 1; }
