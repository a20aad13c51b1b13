# Sourced by benchmarks/measure: what a cycle takes of the processor beside the kernel, counted by valgrind.

# valgrind_count WORDS CYCLES OPTIONS... COMMAND...: the number after WORDS in what valgrind reports.
valgrind_count() {
  local words=$1 cycles=$2
  shift 2
  CYCLES=$cycles valgrind "$@" 2>&1 >/dev/null | sed -n "s/.*$words *\([0-9,]*\).*/\1/p" | tr -d ,
}

# per_cycle COUNTER COMMAND...: what a cycle adds, from two runs of which one is a thousand cycles longer.
per_cycle() {
  local counter=$1 few many
  shift
  few=$("$counter" 100 "$@")
  many=$("$counter" 1100 "$@")
  [[ $few =~ ^[0-9]+$ && $many =~ ^[0-9]+$ ]] || fail "valgrind does not count $*"
  awk "BEGIN { printf \"%.0f\\n\", ($many - $few) / 1000 }"
}

# Of main and what it calls, so only of the thread that runs the cycles.
instructions() {
  local cycles=$1
  shift
  valgrind_count 'Collected :' "$cycles" --tool=callgrind "--callgrind-out-file=$results/callgrind.out" \
    --collect-atstart=no --toggle-collect=main "$@"
}

allocations() {
  local cycles=$1
  shift
  valgrind_count 'total heap usage:' "$cycles" --tool=memcheck "$@"
}

# same_message: the loop is worth a comparison only while it reports the same of the same chip.
same_message() {
  local bare service
  bare=$(CYCLES=3 "$bin/bare_cycles")
  service=$(CYCLES=3 "$bin/service_cycles" once | grep -v '^\.\.\.')
  [ -n "$bare" ] && [ "$bare" = "$service" ] ||
    fail "the bare loop and the service do not send the same message:"$'\n'"$bare"$'\nand\n'"$service"
}

# count_row SUBJECT COMMAND...
count_row() {
  local subject=$1 counted allocated
  shift
  counted=$(per_cycle instructions "$@") && allocated=$(per_cycle allocations "$@") || exit 1
  echo "$subject,$counted,$allocated"
}

measure_instructions() {
  local arrival
  build release bare_cycles service_cycles
  same_message
  {
    echo subject,instructions,allocations
    count_row "bare loop" "$bin/bare_cycles"
    for arrival in once again anew; do
      count_row "configured $arrival" "$bin/service_cycles" "$arrival"
    done
  } >"$results/instructions.csv"
}

# The ratio and the allocations are the same in every run.
judge_instructions() {
  awk -F, '
    $1 == "bare loop" { bare = $2 }
    $1 ~ /^configured/ && $3 != 0 { print "a cycle that is " $1 " allocates " $3 " times"; bad = 1 }
    $1 == "configured once" && $2 / bare > 1.3 { print "a cycle takes " $2 / bare " times the instructions of the loop"; bad = 1 }
    END { exit bad }' "$results/instructions.csv" >&2 || fail "the service takes more than it may"
}
