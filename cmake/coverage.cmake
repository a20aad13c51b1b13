include_guard(GLOBAL)

# POE_COVERAGE counts the lines of the service that its tests run. Of the tests only those are built that are to run
# every line; everything but the service itself is neither counted nor slowed down.
option(POE_COVERAGE "Count the lines of the service that run, and build only the tests that are to run them all" OFF)

# poe_count_lines(TARGET): TARGET compiles sources of the service.
function(poe_count_lines target)
  if(POE_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic -O0)
    target_link_options(${target} INTERFACE --coverage)
  endif()
endfunction()
