include_guard(GLOBAL)

# POE_COVERAGE has clang count what of the service and of its platform runs: lines, and conditions (MC/DC). Of the tests
# only those are built that are to show every condition; what they test is counted and slowed down, nothing else is.
option(POE_COVERAGE "Count lines and conditions that run, and build only the tests that are to show them all" OFF)

# poe_count(TARGET): TARGET compiles sources of the service or of its platform. Each process that runs them adds to files in
# the folder `counts` of the build, which scripts/coverage reads.
function(poe_count target)
  if(POE_COVERAGE)
    target_compile_options(${target} PRIVATE
      -fprofile-instr-generate=${CMAKE_BINARY_DIR}/counts/%4m.profraw -fcoverage-mapping -fcoverage-mcdc -O0)
    target_link_options(${target} INTERFACE -fprofile-instr-generate)
  endif()
endfunction()
