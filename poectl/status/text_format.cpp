#include "poectl/status/text_format.h"

#include <cstdarg>
#include <cstdio>

std::string formatText(const char* format, ...) {
  char text[256];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}
