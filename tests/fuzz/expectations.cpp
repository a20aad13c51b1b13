#include "tests/fuzz/expectations.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>

void expectOneLine(const std::string& text) {
  EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; })) << text;
}

void expectLines(const std::string& text) {
  for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
    end = text.find('\n', begin);
    ASSERT_NE(end, std::string::npos) << text;
    EXPECT_NE(end, begin) << "an empty line in: " << text;
    expectOneLine(text.substr(begin, end - begin));
  }
}

void expectRefusal(const std::string& line, const std::string& text) {
  EXPECT_TRUE(std::none_of(line.begin(), line.end(), [](char character) {
    return static_cast<unsigned char>(character) < ' ' || character == '\x7f';
  })) << line;
  unsigned row = 0;
  unsigned column = 0;
  EXPECT_EQ(std::sscanf(line.c_str(), "f:%u:%u: ", &row, &column), 2) << line;
  const auto ends = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  EXPECT_TRUE(row >= 1 && row <= ends + 1) << line;
  EXPECT_TRUE(column >= 1 && column <= text.size() + 1) << line;
  EXPECT_NE(line.find(" accepted"), std::string::npos) << line;
}
