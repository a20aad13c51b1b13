# On 32-bit targets time_t and off_t get 64 bits. With 32 bits the service ends on 2038-01-19 at 03:14:07 UTC.
# glibc 2.34 is the first that knows _TIME_BITS; an older one ignores it.
option(POE_TIME64 "On 32-bit targets: time_t and off_t have 64 bits" ON)
include_guard(DIRECTORY)

set(POE_USES_TIME64 OFF)
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND POE_TIME64)
  set(POE_USES_TIME64 ON)
  add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)
  include(CheckCXXSourceCompiles)
  set(CMAKE_REQUIRED_DEFINITIONS -D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64)
  check_cxx_source_compiles(
    "#include <ctime>\nstatic_assert(sizeof(std::time_t) >= 8, \"32 bits\");\nint main() {}" POE_HAS_TIME64)
  unset(CMAKE_REQUIRED_DEFINITIONS)
  if(NOT POE_HAS_TIME64)
    message(WARNING "this C library's time_t has 32 bits (glibc has 64 from 2.34 on): the service ends on 2038-01-19")
  endif()
elseif(CMAKE_SIZEOF_VOID_P EQUAL 4)
  message(WARNING "POE_TIME64 is off: the service ends on 2038-01-19 unless the C library's time_t has 64 bits anyway")
endif()
