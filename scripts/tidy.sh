#!/usr/bin/env bash
# clang-tidy over all sources that the preset debug compiles.
set -u
cd "$(dirname "$0")/.." || exit 1
log=build/tidy.log
: >"$log"
failed=0
# The folder as cmake has written it into the commands, for a regular expression.
root=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' build/debug/CMakeCache.txt | sed 's/[][\.*^$+?(){}|]/\\&/g')

# tidy FOLDERS [ARGUMENT...]
tidy() {
  local folders=$1
  shift
  run-clang-tidy -quiet -p build/debug "$@" "^$root/($folders)/" >"$log.part" 2>&1 || failed=1
  grep -q '^clang-tidy.* -p=' "$log.part" || { echo "tidy: nothing was checked in $folders (see $log.part)" >&2; exit 1; }
  cat "$log.part" >>"$log"
}

# The service and its platform are also checked for what the engine mutex guards. That check wants locks of a class of
# its own and takes a pthread_mutex_t all the same.
tidy 'components|platform' -extra-arg=-Wthread-safety -extra-arg=-Wno-thread-safety-attributes
tidy 'simulator|poectl|tests|benchmarks'
grep -E '(warning|error):' "$log" | sort -u
exit "$failed"
