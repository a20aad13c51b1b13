# The Debian packages that "cpack" makes in the build folder: one of the service, one of the tools, one of the page.
include(${CMAKE_CURRENT_LIST_DIR}/maintainer.cmake)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "${POE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/directory_rights.cmake)
set(CPACK_COMPONENTS_ALL service)
if(TARGET poectl)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
if(TARGET poectl-page)
  list(APPEND CPACK_COMPONENTS_ALL page)
endif()
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_SERVICE_PACKAGE_DEPENDS adduser)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "")
if(TARGET poe_card)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS umockdev)
endif()
# For "poectl plot", for "poectl serve", for the published files, and for "poectl snmp".
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "gnuplot-nox, poe-page, prometheus-node-exporter, snmpd")
set(CPACK_DEBIAN_PAGE_PACKAGE_DEPENDS "poe-tools (>= ${PROJECT_VERSION})")
if(CMAKE_CROSSCOMPILING)
  # dpkg-shlibdeps asks the packages that own the libraries, and those of another architecture have none here.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE powerpc)
  foreach(package SERVICE TOOLS)
    list(APPEND CPACK_DEBIAN_${package}_PACKAGE_DEPENDS "libc6 (>= 2.34)" libgcc-s1 "libstdc++6 (>= 12)")
    list(JOIN CPACK_DEBIAN_${package}_PACKAGE_DEPENDS ", " CPACK_DEBIAN_${package}_PACKAGE_DEPENDS)
  endforeach()
endif()

set(CPACK_DEBIAN_SERVICE_PACKAGE_NAME poe-service)
set(CPACK_DEBIAN_SERVICE_PACKAGE_SECTION net)
set(CPACK_DEBIAN_SERVICE_DESCRIPTION "Power-over-Ethernet service of a line card
Drives a PD69104, a Power-over-Ethernet controller with four ports, over an
I2C adapter: applies configurations from a message queue, keeps the power
budget, and reports the state of the ports every second.")
set(CPACK_DEBIAN_SERVICE_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_LIST_DIR}/debian/postinst
  ${CMAKE_CURRENT_LIST_DIR}/debian/prerm
  ${CMAKE_CURRENT_LIST_DIR}/debian/postrm)
set(CPACK_DEBIAN_SERVICE_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME poe-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_LIST_DIR}/debian/tools/postinst
  ${CMAKE_CURRENT_LIST_DIR}/debian/tools/prerm
  ${CMAKE_CURRENT_LIST_DIR}/debian/tools/postrm)
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(poectl_description "poectl plays the card's main process: it configures the service, shows
its status, explains the power budget and plays scenarios.")
if(TARGET poe_card)
  set(CPACK_DEBIAN_TOOLS_DESCRIPTION "simulated line card and main process for the PoE service
poe_card runs the service, or any program, on a simulated card with a
PD69104.
${poectl_description}")
else()
  set(CPACK_DEBIAN_TOOLS_DESCRIPTION "main process of a line card for the PoE service
${poectl_description}")
endif()

set(CPACK_DEBIAN_PAGE_PACKAGE_NAME poe-page)
set(CPACK_DEBIAN_PAGE_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PAGE_DESCRIPTION "page of a line card for a browser
The server of 'poectl serve', which shows the ports, the power budget, the
history and the events of the PoE service as a page on the loopback address.")

# Every file in the packages is of the release's date, so that two builds make the same packages.
execute_process(COMMAND date --utc --date=${POE_RELEASE_DATE} +%s OUTPUT_VARIABLE POE_RELEASE_SECONDS
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_BINARY_DIR}/release_date.cmake)
file(CONFIGURE OUTPUT ${CPACK_PROJECT_CONFIG_FILE} @ONLY CONTENT [[
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  set(ENV{SOURCE_DATE_EPOCH} @POE_RELEASE_SECONDS@)
endif()
]])
include(CPack)
