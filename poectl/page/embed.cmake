# Puts page.html, page.css and page.js of SOURCE together as one file and writes it as C++ to OUTPUT, with the policy
# that lets the browser run this script and use this style and nothing else.

# sha256_of(RESULT TEXT): as a Content-Security-Policy has it, in base64.
function(sha256_of result text)
  set(letters ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  string(SHA256 hash "${text}")
  set(encoded "")
  foreach(start RANGE 0 60 6) # three bytes are four letters; the last two bytes are three
    string(SUBSTRING "${hash}00" ${start} 6 bytes)
    foreach(shift 18 12 6 0)
      math(EXPR place "(0x${bytes} >> ${shift}) & 63")
      string(SUBSTRING ${letters} ${place} 1 letter)
      string(APPEND encoded ${letter})
    endforeach()
  endforeach()
  string(SUBSTRING ${encoded} 0 43 encoded)
  set(${result} "'sha256-${encoded}='" PARENT_SCOPE)
endfunction()

file(READ ${SOURCE}/page.html page)
file(READ ${SOURCE}/page.css style)
file(READ ${SOURCE}/page.js script)
sha256_of(style_hash "${style}")
sha256_of(script_hash "${script}")
string(REPLACE "/* page.css */" "${style}" page "${page}")
string(REPLACE "/* page.js */" "${script}" page "${page}")
file(WRITE ${OUTPUT} "#include \"poectl/page/page_content.h\"\n\n"
  "const char PAGE_TEXT[] = R\"page(${page})page\";\n"
  "const std::size_t PAGE_SIZE = sizeof PAGE_TEXT - 1;\n"
  "const char PAGE_POLICY[] = \"default-src 'none'; script-src ${script_hash}; style-src ${style_hash}; \"\n"
  "                           \"connect-src 'self'; img-src data:; base-uri 'none'; form-action 'none'; \"\n"
  "                           \"frame-ancestors 'none'\";\n")
