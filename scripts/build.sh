# Sourced by run, test and .ci/run: configures and builds a preset.

# build PRESET [TARGET...]: quiet when nobody watches, with ninja's progress on a terminal; a failure shows the log.
build() {
  local preset=$1 log=build/$1.log targets=()
  shift
  [ $# -gt 0 ] && targets=(--target "$@")
  mkdir -p build
  if ! cmake --preset "$preset" >"$log" 2>&1; then
    cat "$log" >&2
    fail "cannot configure the preset $preset"
  fi
  if [ -t 2 ]; then
    cmake --build "build/$preset" "${targets[@]}" >&2 || fail "cannot build the preset $preset"
  elif ! cmake --build "build/$preset" "${targets[@]}" >>"$log" 2>&1; then
    grep -E 'error|FAILED' -A 5 "$log" >&2
    fail "cannot build the preset $preset (the whole output is in $log)"
  fi
}
