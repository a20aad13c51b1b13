# Sourced by the scripts that build, after packages.sh: configures and builds a preset.

# use_compiler_cache: what has been compiled before is not compiled again, also where presets agree and in another clone.
use_compiler_cache() {
  command -v ccache >/dev/null || return
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$PWD
}

# cannot_write PATH REASON: ends with what is in the way and what helps.
cannot_write() {
  local path=$1 why=$2 owner user help
  [ -e "$path" ] || path=.
  owner=$(stat -c %U "$path") user=$(id -un 2>/dev/null || id -u)
  case $why in
  Read-only*) help="copy the tree to a file system that can be written" ;;
  Permission*)
    if [ "$owner" = "$user" ]; then
      help="make it writable: chmod u+w '$path'"
    elif [ "$path" = . ]; then
      help="the tree belongs to $owner and you are $user: become $owner, or copy the tree"
    else
      help="it belongs to $owner and you are $user: become $owner, or remove $path as $owner"
    fi
    ;;
  *) help="make room for it, or copy the tree" ;;
  esac
  fail "cannot write $PWD/$1: $why; $help"
}

# need_build_folder PRESET FILE...: sees that build/, the folder of the preset and these files in build/ can be written,
# and that the preset was configured in this folder; says what is in the way if not.
need_build_folder() {
  local preset=$1 path why home
  shift
  for path in build "build/$preset"; do
    why=$({ LC_ALL=C mkdir -p "$path" && LC_ALL=C bash -c 'echo >"$1/.writable"' bash "$path"; } 2>&1) || cannot_write "$path" "${why##*: }"
    rm -f "$path/.writable"
  done
  [ -e "build/$preset/CMakeCache.txt" ] && set -- "$@" "build/$preset/CMakeCache.txt"
  for path in "$@"; do
    why=$(LC_ALL=C bash -c ': >>"$1"' bash "$path" 2>&1) || cannot_write "$path" "${why##*: }"
  done
  home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "build/$preset/CMakeCache.txt" 2>/dev/null)
  [ -z "$home" ] || [ "$home" -ef . ] ||
    fail "build/$preset was made for $home and not for $PWD; remove it: rm -r '$PWD/build/$preset'"
}

# build PRESET [TARGET...]: quiet in a pipe, with ninja's progress on a terminal; a failure shows the log.
build() {
  local preset=$1 log=build/$1.log targets=()
  shift
  [ $# -gt 0 ] && targets=(--target "$@")
  need_build_folder "$preset" "$log"
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
