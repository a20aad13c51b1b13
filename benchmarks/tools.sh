# Sourced by benchmarks/measure: what the tools take of the computer that they run on.

view_seconds=20

# processor_time PID: of all its threads up to now, in milliseconds.
processor_time() { awk '{ sum += $1 } END { printf "%.2f\n", sum / 1e6 }' "/proc/$1"/task/*/schedstat; }

# view_row: the live view on a terminal of its own, a second of it.
view_row() {
  local terminal=(tmux -f /dev/null -S "$results/tools.terminal") view before after memory
  "${terminal[@]}" new-session -d -x 100 -y 40 "exec '$bin/poectl' watch" &&
    view=$("${terminal[@]}" list-panes -F '#{pane_pid}') && sleep 3 && before=$(processor_time "$view") || return 1
  sleep "$view_seconds"
  after=$(processor_time "$view") && memory=$(awk '/^VmHWM:/ { print $2 }' "/proc/$view/status")
  "${terminal[@]}" kill-server
  awk "BEGIN { printf \"poectl watch for a second,%d,%.2f,1000\\n\", $memory, ($after - $before) / $view_seconds }"
}

# card_row: what ten transfers add to a run of poe_card with a program that makes them.
card_row() {
  local tens=2000 one many
  one=$("$bin/tool_cost" runs 3 "$bin/poe_card" -- "$bin/tool_cost" transfers 1) &&
    many=$("$bin/tool_cost" runs 3 "$bin/poe_card" -- "$bin/tool_cost" transfers $((tens + 1))) || return 1
  awk -F, -v tens="$tens" '
    NR == 1 { processor = $2; time = $3 }
    END { printf "poe_card and its program for ten transfers,%d,%.3f,%.3f\n", $1, ($2 - processor) / tens, ($3 - time) / tens }
  ' <<<"$one"$'\n'"$many"
}

# tool_rows: beside a service on the simulated card, which ends with them. In namespaces of their own.
tool_rows() {
  local card
  "$bin/poe_card" --log "$results/tools.log" -- "$bin/poe_service" >/dev/null &
  card=$!
  "$bin/poectl" status >/dev/null && # the service runs
    echo "poectl status,$("$bin/tool_cost" runs 20 "$bin/poectl" status)" &&
    view_row
  status=$?
  kill "$card"
  wait "$card"
  card_row && return "$status"
}

measure_tools() {
  build release poe_service poe_card poectl own_namespaces tool_cost
  export -f tool_rows view_row card_row processor_time
  export bin results view_seconds
  {
    echo "what,memory (kB),processor time (ms),duration (ms)"
    "$bin/own_namespaces" bash -c tool_rows || fail "the tools cannot be measured"
  } >"$results/tools.csv"
}
