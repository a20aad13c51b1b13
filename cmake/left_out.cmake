# Says what the build leaves out because this machine lacks something, and which Debian packages bring it:
#
#   -- left out: poectl: CLI11 not found (Debian: libcli11-dev)

# Everything that may be missing: a target or a variable of CMake | its name | the Debian packages that bring it.
set(POE_OPTIONAL_THINGS
  "CHROMEDRIVER|chromedriver|chromium-driver"
  "CLI11::CLI11|CLI11|libcli11-dev"
  "CMAKE_C_COMPILER|a C compiler|gcc"
  "FUZZED_DATA_PROVIDER|FuzzedDataProvider.h|libclang-rt-dev"
  "GROFF|groff|groff-base"
  "GTest::gmock|GoogleMock|libgmock-dev"
  "GTest::gtest|GoogleTest|libgtest-dev"
  "GNUPLOT|gnuplot|gnuplot-nox"
  "GZIP|gzip|gzip"
  "I2CDUMP|i2cdump|i2c-tools"
  "JSONSCHEMA|the Python module jsonschema|python3-jsonschema"
  "NODE_EXPORTER|the node exporter|prometheus-node-exporter"
  "nlohmann_json::nlohmann_json|nlohmann_json|nlohmann-json3-dev"
  "PkgConfig::LIBEDIT|libedit|libedit-dev"
  "PkgConfig::MICROHTTPD|libmicrohttpd|libmicrohttpd-dev"
  "PkgConfig::NCURSESW|ncurses|libncurses-dev"
  "PkgConfig::UMOCKDEV|umockdev|libumockdev-dev umockdev"
  "PROMTOOL|promtool|prometheus"
  "PYTHON3|Python 3|python3"
  "PYSNMP_MIBS|the Python module pysnmp_mibs|python3-pysnmp4-mibs"
  "SNMPD|snmpd|snmpd"
  "SNMPWALK|snmpwalk|snmp"
  "STRACE|strace|strace"
  "SYSTEMD_ANALYZE|systemd-analyze|systemd"
  "TMUX|tmux|tmux"
  "tomlplusplus::tomlplusplus|toml++|libtomlplusplus-dev")

# poe_left_out(WHAT REASON...): says so. Whatever needs WHAT is left out for the same reasons.
function(poe_left_out what)
  list(JOIN ARGN ", " reasons)
  message(STATUS "left out: ${what}: ${reasons}")
  set_property(GLOBAL PROPERTY "poe_left_out_${what}" "${ARGN}")
endfunction()

# poe_can_build(RESULT WHAT THING...): sets RESULT to whether every THING is there: a target, or a variable that is true.
# When one is not, WHAT is left out. A THING is of the table above, or something that can itself be left out.
function(poe_can_build result what)
  set(reasons "")
  foreach(thing ${ARGN})
    if(TARGET ${thing} OR ${thing})
      continue()
    endif()
    get_property(reason GLOBAL PROPERTY "poe_left_out_${thing}")
    if(NOT reason)
      _poe_not_found(reason ${thing})
    endif()
    list(APPEND reasons ${reason})
  endforeach()
  if(reasons)
    list(REMOVE_DUPLICATES reasons)
    poe_left_out("${what}" ${reasons})
    set(${result} FALSE PARENT_SCOPE)
  else()
    set(${result} TRUE PARENT_SCOPE)
  endif()
endfunction()

# poe_find_module(PREFIX MODULE): defines the target PkgConfig::PREFIX when pkg-config knows MODULE.
function(poe_find_module prefix module)
  find_package(PkgConfig QUIET)
  if(PkgConfig_FOUND)
    pkg_check_modules(${prefix} QUIET IMPORTED_TARGET ${module})
  else()
    unset(${prefix}_FOUND CACHE)
  endif()
endfunction()

# Why a thing of the table is missing. A library that pkg-config describes is not seen without pkg-config either.
function(_poe_not_found result thing)
  foreach(row ${POE_OPTIONAL_THINGS})
    string(REPLACE "|" ";" row "${row}")
    list(GET row 0 key)
    if(key STREQUAL thing)
      list(GET row 1 name)
      list(GET row 2 packages)
      if(thing MATCHES "^PkgConfig::")
        find_package(PkgConfig QUIET)
        if(NOT PkgConfig_FOUND)
          string(APPEND packages " pkg-config")
        endif()
      elseif(thing STREQUAL "GTest::gtest" AND CMAKE_CROSSCOMPILING) # built from its sources
        set(packages googletest)
      endif()
      set(${result} "${name} not found (Debian: ${packages})" PARENT_SCOPE)
      return()
    endif()
  endforeach()
  message(FATAL_ERROR "${thing} is neither built nor in the table of cmake/left_out.cmake")
endfunction()
