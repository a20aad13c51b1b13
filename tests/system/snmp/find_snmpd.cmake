# What the tests of poectl below the real snmpd need.
find_program(SNMPD snmpd PATHS /usr/sbin)
find_program(SNMPWALK snmpwalk)
# The Python of Debian, which has the modules of Debian's packages, may not be the first of the search path.
if(NOT DEFINED PYSNMP_MIBS)
  execute_process(COMMAND /usr/bin/python3 -c "import pysnmp_mibs" RESULT_VARIABLE no_mibs OUTPUT_QUIET ERROR_QUIET)
  if(no_mibs EQUAL 0)
    set(PYSNMP_MIBS TRUE)
  endif()
endif()
