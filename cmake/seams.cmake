# Calls of the C library that a test replaces when it is linked.

# CALL=SYMBOL: what glibc calls the function for programs whose time_t and off_t have 64 bits on a 32-bit machine.
set(POE_TIME64_SYMBOLS
  clock_gettime=__clock_gettime64
  clock_nanosleep=__clock_nanosleep_time64
  ioctl=__ioctl_time64
  mq_timedreceive=__mq_timedreceive_time64
  mq_timedsend=__mq_timedsend_time64
  open=open64
  pthread_cond_clockwait=__pthread_cond_clockwait64
  setsockopt=__setsockopt64)

# poe_wrap(TARGET CALL...): every CALL in a program goes to the function __wrap_CALL of TARGET, where __real_CALL is the C
# library's function. The program is TARGET; of an object library, it is each program that links it.
function(poe_wrap target)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set(scope PRIVATE)
  else()
    set(scope INTERFACE)
  endif()
  foreach(call ${ARGN})
    set(symbol ${call})
    if(POE_USES_TIME64 AND "${POE_TIME64_SYMBOLS}" MATCHES "(^|;)${call}=([^;]+)")
      set(symbol ${CMAKE_MATCH_2})
      target_compile_definitions(${target} PRIVATE
        __wrap_${call}=__wrap_${symbol} __real_${call}=__real_${symbol})
    endif()
    target_link_options(${target} ${scope} LINKER:--wrap=${symbol})
  endforeach()
endfunction()
