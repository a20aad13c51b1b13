# Sourced by tests/target/x86 and tests/target/powerpc: every scenario on machines whose kernel has the simulated card as
# its I2C adapter. Service and poectl run in the machines; the cards, one for each scenario, run outside.

# How many machines play side by side.
scenario_machines=${POE_SCENARIO_MACHINES:-3}
scenario_folder=tests/system/scenarios
repeated_scenario=events_of_every_kind

# The time of day on each machine: the second that it passes while its first scenario plays, so that the others start
# after it, or `restless`, which sets it forward and back by an hour every 2 s. On PowerPC glibc 2.36 ends before 2106.
x86_clocks=(2147483647 4294967295 restless)
powerpc_clocks=(2147483647 restless restless)

# pack_scenarios ROOT: puts the scenarios and their files into a machine's file system.
pack_scenarios() {
  mkdir -p "$1/scenarios"
  cp "$scenario_folder"/*.play "$scenario_folder"/*.toml "$1/scenarios/"
}

# start_scenario_machine NAME SLOT: starts a machine that waits for scenarios.
start_scenario_machine() {
  local place=build/target/$1.$2 machine clocks=$1_clocks[$2]
  "$1_machine" "build/target/$1.cpio.gz" program=/bin/scenario_agent "time_of_day=${!clocks-restless}"
  rm -f "$place".{card,serial,log}
  timeout "$machine_timeout_s" "${machine[@]}" -display none -monitor none -nic none -no-reboot -serial "file:$place.log" \
    -chardev "socket,id=serial,path=$place.serial,server=on,wait=off" -serial chardev:serial \
    -chardev "socket,id=card,path=$place.card,server=on,wait=on" -device vhost-user-i2c-pci,chardev=card \
    </dev/null >"$place.emulator" 2>&1 &
  machines+=($!)
  # The emulator needs a card to begin with.
  (
    wait_for 30 test -S "$place.card" &&
      build/release/bin/poe_card --virtio "$place.card" -- bash -c '
        for ((i = 0; i < 1800; i++)); do
          grep -qs "^# the machine is ready" "$0" && exit
          sleep 0.1
        done
        exit 1' "$place.log"
  ) &
  starts+=($!)
}

# run_bus_tests NAME COMMAND...: runs the tests of kernel_bus_tests on a machine whose adapter is a card outside. The second
# serial port carries the card's commands. COMMAND runs the program here and lists its tests.
run_bus_tests() {
  local name=$1 place=build/target/$1.bus
  shift
  rm -f "$place".{serial,card,control,log}
  local more_options=(-chardev "socket,id=serial,path=$place.serial,server=on,wait=off" -serial chardev:serial
    -chardev "socket,id=card,path=$place.card,server=on,wait=on" -device vhost-user-i2c-pci,chardev=card)
  tests/target/scenarios/card_of_machine build/release/bin/poe_card "$place" \
    >"$place.card_log" 2>&1 &
  machines+=($!)
  run_on_machine "$name" "build/target/$name.cpio.gz" "$place" program=/bin/kernel_bus_tests -- "$@"
}

# wait_for SECONDS COMMAND...: until the command succeeds.
wait_for() {
  local end=$((SECONDS + $1))
  shift
  until "$@"; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.1
  done
}

# play_one NAME FILE: plays a scenario on the machine of POE_SLOT; its line of the result.
play_one() {
  local name=$1 scenario folder
  scenario=$(basename "$2" .play)
  folder=build/target/$name.scenarios/$scenario
  mkdir -p "$folder"
  if "$scenario_folder/run_scenario" build/release/bin "$2" "$folder" "build/target/$name.$POE_SLOT" \
    >"$folder/results" 2>&1; then
    echo "ok $scenario"
  else
    echo "not ok $scenario (see $folder/results)"
    grep -A 3 -E '^not ok|^Bail|^run_scenario' "$folder/results" | sed 's/^/# /'
  fi
}

# play_scenarios NAME: plays all of them, as many at a time as there are machines, and compares the transfers of
# the one that is played twice elsewhere with those of a run without a machine.
play_scenarios() {
  local name=$1 starts=() start slot passed total line log=build/target/$1.scenarios.log
  rm -rf "build/target/$name.scenarios"
  progress "starting $scenario_machines machines for the scenarios"
  for ((slot = 0; slot < scenario_machines; slot++)); do
    start_scenario_machine "$name" "$slot"
  done
  for start in "${starts[@]}"; do
    wait "$start" || fail "a machine has not started (see build/target/$name.*.log and .emulator)"
  done
  play_without_a_machine "$name" &
  local without=$!
  export -f play_one
  export scenario_folder
  # The long one first.
  { echo "$scenario_folder/$repeated_scenario.play"; ls "$scenario_folder"/*.play | grep -v "/$repeated_scenario.play"; } |
    xargs -P "$scenario_machines" --process-slot-var=POE_SLOT -I FILE bash -c "play_one $name FILE" | tee "$log" |
    grep -v '^ok '
  for ((slot = 0; slot < scenario_machines; slot++)); do
    stop_machine "build/target/$name.$slot.serial"
  done
  wait "$without" || exit 1
  wait "${machines[@]}"
  machines=()
  passed=$(grep -c '^ok ' "$log")
  total=$(ls "$scenario_folder"/*.play | wc -l)
  progress "scenarios $passed of $total"
  grep -hE 'Kernel panic|Oops|BUG:|Unable to handle kernel' build/target/"$name".[0-9].log && fail "a kernel has failed"
  [ "$passed" -eq "$total" ] || fail "not every scenario has passed (see $log)"
  for ((slot = 0; slot < scenario_machines; slot++)); do
    line=$(tr -d '\r' <"build/target/$name.$slot.log" | grep '^# time of day: [ps]') || fail "machine $slot does not tell its time of day"
    progress "scenarios on machine $slot, ${line#\# }"
  done
  compare_records "$name"
}

# stop_machine SOCKET: returns when the machine has ended; what is sent in the moment before a connection ends may be lost.
stop_machine() {
  python3 -c '
import socket, sys
with socket.socket(socket.AF_UNIX) as serial:
    serial.settimeout(60)
    serial.connect(sys.argv[1])
    serial.sendall(b"stop\n")
    while serial.recv(100):
        pass' "$1"
}

# play_without_a_machine NAME: the scenario whose transfers are compared.
play_without_a_machine() {
  local folder=build/target/$1.scenarios/without_a_machine
  mkdir -p "$folder"
  "$scenario_folder/run_scenario" build/release/bin "$scenario_folder/$repeated_scenario.play" "$folder" >"$folder/results" 2>&1 ||
    fail "the scenario $repeated_scenario fails without a machine (see $folder/results)"
}

# transfers_of RECORD: its transfers up to the mark at the end of the scenario. On a busy computer the first configuration
# can come some cycles late, so one of the idle cycles before it stays, which are 64 reads each.
transfers_of() {
  awk '
    /^R 0xCE / { exit }
    configured { print; next }
    /^R/ { idle[++reads] = $0; next }
    {
      left_out = reads >= 64 ? reads - reads % 64 - 64 : 0
      for (i = 1; i <= reads; i++) if (i <= 64 || i > 64 + left_out) print idle[i]
      configured = reads >= 64
      reads = 0
      print
    }' "$1"
}

# compare_records NAME: the same scenario makes the same transfers, whatever is between the service and the card.
compare_records() {
  local folder=build/target/$1.scenarios place
  for place in without_a_machine "$repeated_scenario"; do
    grep -q '^R 0xCE ' "$folder/$place/record" || fail "the record in $folder/$place has no end"
    transfers_of "$folder/$place/record" >"$folder/$place/compared"
  done
  cmp "$folder/without_a_machine/compared" "$folder/$repeated_scenario/compared" >&2 ||
    fail "the transfers of $repeated_scenario differ from those without a machine"
  progress "$(wc -l <"$folder/$repeated_scenario/compared") transfers of $repeated_scenario, the same as without a machine"
}
