// POSIX extended regular expressions; those of the C++ library draw false warnings in a build with
// sanitizers.
#pragma once

#include <gtest/gtest.h>
#include <regex.h>
#include <string>

// Whether the pattern matches somewhere in the text.
inline bool containsPattern(const std::string& text, const std::string& pattern) {
  regex_t expression;
  EXPECT_EQ(regcomp(&expression, pattern.c_str(), REG_EXTENDED | REG_NOSUB), 0) << pattern;
  const bool found = regexec(&expression, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&expression);
  return found;
}

// Whether it matches the whole text.
inline bool matchesPattern(const std::string& text, const std::string& pattern) {
  return containsPattern(text, "^" + pattern + "$");
}
