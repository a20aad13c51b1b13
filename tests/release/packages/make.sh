# Sourced by the checks of the packages.

# make_packages PRESET DIRECTORY [VERSION]: what cpack makes of a preset that is built, in an empty directory.
make_packages() {
  rm -rf "$2"
  cpack --config "build/$1/CPackConfig.cmake" -B "$2" ${3:+-R "$3"} >"$2.log" 2>&1 || fail "cpack fails (see $2.log)"
}
