# POE_SANITIZE names the sanitizers for the whole build, as -fsanitize takes them.
set(POE_SANITIZE "" CACHE STRING "Sanitizers, for example address,undefined or thread")
if(POE_SANITIZE)
  add_compile_options(-fsanitize=${POE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${POE_SANITIZE})
endif()
