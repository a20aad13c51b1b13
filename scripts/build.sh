# Sourced by the scripts that build, behind packages.sh: configures and builds a preset.

# use_compiler_cache: what has been compiled before is not compiled again, also where presets agree and in another clone.
use_compiler_cache() {
  command -v ccache >/dev/null || return
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$PWD
}

# build PRESET [TARGET...]: quiet when nobody watches, with ninja's progress on a terminal; a failure shows the log.
build() {
  local preset=$1 log=build/$1.log targets=()
  shift
  [ $# -gt 0 ] && targets=(--target "$@")
  mkdir -p build
  use_compiler_cache
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
