# Libraries that are nothing but headers and serve every architecture, for a cross build: its own package search sees
# only what was built for the target. They are linked into an include directory that holds only them, so that nothing
# else of this machine's /usr/include is found.
set(POE_HEADER_ONLY_SOURCE /usr/include CACHE PATH "Where the header-only libraries are")

# poe_find_header_only(DIRECTORY TARGET): defines the interface target `TARGET` when DIRECTORY, the
# library's folder of headers, is installed.
function(poe_find_header_only directory target)
  if(TARGET ${target} OR NOT CMAKE_CROSSCOMPILING OR NOT EXISTS ${POE_HEADER_ONLY_SOURCE}/${directory})
    return()
  endif()
  set(include ${CMAKE_BINARY_DIR}/header-only)
  file(MAKE_DIRECTORY ${include})
  file(CREATE_LINK ${POE_HEADER_ONLY_SOURCE}/${directory} ${include}/${directory} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED)
  target_include_directories(${target} SYSTEM INTERFACE ${include})
endfunction()
