#!/usr/bin/env bash
# clang-tidy over all sources that the preset debug compiles.
set -u
cd "$(dirname "$0")/.." || exit 1
log=build/tidy.log
run-clang-tidy -quiet -p build/debug "^$PWD/(components|platform|simulator|poectl|tests)/" >"$log" 2>&1
status=$?
grep -E '(warning|error):' "$log" | sort -u
exit "$status"
