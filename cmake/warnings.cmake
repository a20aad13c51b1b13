# The warnings that our own targets are compiled with. Whether they are errors
# is the builder's choice (CMAKE_COMPILE_WARNING_AS_ERROR; our presets set it).
add_library(poe_warnings INTERFACE)
target_compile_options(poe_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
  -Wcast-align -Wformat=2 -Wundef -Wnull-dereference
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
  $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
