# Sourced by tests/target/x86, tests/target/powerpc and benchmarks/measure: the file system of a test machine, its run and the verdict.

. scripts/packages.sh
. scripts/build.sh
. tests/target/downloads.sh
. tests/target/scenarios/machines.sh

# How long a machine may run, in seconds: the tests wait up to four minutes for cycles, the rest is emulation.
machine_timeout_s=480

# Directories, and processes in the background, that go when the script ends, however it ends.
scratch=()
machines=()
trap 'rm -rf "${scratch[@]}"; kill "${machines[@]}" 2>/dev/null' EXIT

# in_lane COMMAND...: runs a part beside the others; its machines end with it. wait_for_lanes returns when all parts have
# ended and fails when one has failed.
lanes=()
in_lane() {
  (
    scratch=() machines=()
    trap 'kill "${machines[@]}" 2>/dev/null' EXIT
    "$@"
  ) &
  lanes+=($!)
  machines+=($!)
}
wait_for_lanes() {
  local lane failed=0
  for lane in "${lanes[@]}"; do
    wait "$lane" || failed=1
  done
  lanes=() machines=()
  return "$failed"
}

progress() { printf '%s: %s\n' "${0##*/}" "$*"; }

# parse_mode ARGUMENT...: sets `mode` to nothing or to --prepare.
parse_mode() {
  mode=${1-}
  case $#$mode in
  0 | 1--prepare) ;;
  *)
    echo "${0##*/}: unknown arguments '$*'; accepted is --prepare, which gets everything ready and runs nothing" >&2
    exit 2
    ;;
  esac
}

# build_release TARGET...: the programs of this computer, also while another script builds them.
build_release() {
  exec {lock}>build/target/release.lock
  flock "$lock"
  build release "$@"
  exec {lock}>&-
}

# copy_program FILE DIRECTORY ROOT LIBRARIES...: copies a program and the shared libraries that it needs, which are
# looked for in the directories LIBRARIES.
copy_program() {
  local file=$1 directory=$2 root=$3
  shift 3
  mkdir -p "$root/$directory" "$root/lib"
  cp "$file" "$root/$directory/"
  copy_libraries_of "$file" "$root" "$@"
}

copy_libraries_of() {
  local file=$1 root=$2 name directory found
  shift 2
  while read -r name; do
    [ -e "$root/lib/$name" ] && continue
    found=
    for directory in "$@"; do
      [ -e "$directory/$name" ] && found=$directory/$name && break
    done
    [ -n "$found" ] || fail "$file needs $name, which is in none of: $*"
    cp -L "$found" "$root/lib/$name"
    copy_libraries_of "$found" "$root" "$@"
  done < <(readelf --dynamic "$file" 2>/dev/null | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
}

# pack_root ROOT FILE: the directory as an initial file system.
pack_root() {
  mkdir -p "$1/dev" "$1/proc" "$1/sys" "$1/tmp"
  chmod 755 "$1" # not for root alone, as mktemp has made it
  mknod "$1/dev/console" c 5 1 2>/dev/null
  (cd "$1" && find . -print0 | cpio --null --create --format=newc --owner=0:0 --quiet) | gzip -1 >"$2" ||
    fail "cannot pack $1"
}

# What an emulator is told beside the machine itself: further devices, another clock.
more_options=()
# A clock that counts instructions, 4 ns each, so that every run gives the same, and that skips the machine's sleep.
counting_clock=(-icount shift=2,sleep=off)

# run_machine LOG QEMU ARGUMENT...: runs the machine and shows its results as they come.
run_machine() {
  local log=$1 line
  shift
  progress "starting the machine"
  timeout "$machine_timeout_s" "$@" -display none -monitor none -serial stdio "${more_options[@]}" -nic none -no-reboot \
    </dev/null 2>&1 |
    stdbuf -oL tr -d '\r' | tee "$log" | while IFS= read -r line; do
      case $line in
      'ok '* | 'not ok '* | '# '*) progress "$line" ;;
      esac
    done
  [ "${PIPESTATUS[0]}" -ne 124 ] || fail "the machine has not ended within $machine_timeout_s s (see $log)"
}

# judge LOG NAMES: fails unless each test of the file NAMES, in that order, has passed, and nothing else is in the log
# that tells of a failure.
judge() {
  local log=$1 names=$2 count
  count=$(wc -l <"$names")
  [ "$count" -gt 0 ] || fail "there are no tests to expect"
  grep -qE 'Kernel panic|Oops|BUG:|Unable to handle kernel' "$log" && fail "the kernel has failed (see $log)"
  grep -qx "1\.\.$count" "$log" || fail "the plan of $count tests is missing (see $log)"
  if ! diff <(nl -ba -w1 -s' - ' "$names" | sed 's/^/ok /') <(grep -E '^(not )?ok ' "$log") >"$log.diff"; then
    sed -n 's/^</missing:/p; s/^>/instead:/p' "$log.diff" >&2
    fail "not every test has passed (see $log)"
  fi
  grep -qx '# tests ended with status 0' "$log" || fail "the test program has not ended well (see $log)"
  progress "all $count tests passed"
}

# run_on_machine NAME IMAGE PLACE WORD... -- COMMAND...: runs a test program on a machine of its own with the file system
# IMAGE, and judges its tests. The words go to the kernel's command line and from there into the program's environment.
# COMMAND runs the program here, where it lists the tests. The results are PLACE.log.
run_on_machine() {
  local name=$1 image=$2 place=$3 words=() machine
  shift 3
  while [ "$1" != -- ]; do
    words+=("$1")
    shift
  done
  shift
  # One name to a line.
  env "${words[@]}" "$@" --gtest_list_tests | awk '/^[^ ]/ { suite = $1; next } { print suite $1 }' >"$place.names"
  "${name}_machine" "$image" "${words[@]}"
  run_machine "$place.log" "${machine[@]}"
  judge "$place.log" "$place.names"
}

# run_tests NAME GROUP FILTER COMMAND...: the tests of target_tests that the filter names.
run_tests() {
  run_on_machine "$1" "build/target/$1.cpio.gz" "build/target/$1.$2" "GTEST_FILTER=$3" -- "${@:4}"
}

# clock_and_scenarios NAME FILTER COMMAND...: the scenarios wait for the tests of the clock, because booting machines take
# processor time from tests that measure a cycle.
clock_and_scenarios() {
  local name=$1
  (run_tests "$name" clock "${@:2}")
  local status=$?
  play_scenarios "$name" && return "$status"
}

# run_compressed NAME CYCLES FILTER COMMAND...: the endurance test in compressed time. The chip is i2c-stub, because the
# simulated card answers in the time of this computer.
run_compressed() {
  local more_options=("${counting_clock[@]}")
  renice -n 10 -p "$BASHPID" >/dev/null
  run_on_machine "$1" "build/target/$1.cpio.gz" "build/target/$1.compressed" "GTEST_FILTER=$3" "CYCLES=$2" -- "${@:4}"
}

# run_all_on NAME CYCLES COMMAND...: everything that runs on machines of this kind, side by side; most of the time it waits
# for the service's next cycle. CYCLES run in compressed time. COMMAND runs a test program of the machine here.
run_all_on() {
  local name=$1 cycles=$2 clock='TimeOfDayTest.*:*Date*' endurance='Endurance.OfMany*'
  shift 2
  in_lane run_compressed "$name" "$cycles" "$endurance" "$@/target_tests"
  in_lane clock_and_scenarios "$name" "$clock" "$@/target_tests"
  in_lane run_tests "$name" service "-$clock:$endurance" "$@/target_tests"
  in_lane run_bus_tests "$name" "$@/kernel_bus_tests"
  wait_for_lanes
}
