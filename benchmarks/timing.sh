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

# measure_pace SECONDS: each cycle, and from these what the documents show.
measure_pace() {
  timing "$results/cycles.csv" pace "$1"
  summarise_cycles <"$results/cycles.csv" >"$results/pace.csv"
}

summarise_cycles() {
  awk -F, '
    NR > 1 {
      rest = ($3 - 1 - $4) * 1000
      count[$1]++; period[$1] += $3; cycle[$1] += $4; transfers[$1] += $5; rests[$1] += rest
      if (rest > greatest[$1]) greatest[$1] = rest
    }
    END {
      print "clients,cycles,mean period (ms),mean length of a cycle (ms),mean time of its transfers (ms),mean rest (ms),greatest rest (ms)"
      for (c in count)
        printf "%d,%d,%.2f,%.2f,%.2f,%.2f,%.2f\n", c, count[c], 1000 * period[c] / count[c], 1000 * cycle[c] / count[c],
          1000 * transfers[c] / count[c], rests[c] / count[c], greatest[c]
    }' | sort -s -t, -k1,1n
}
