// What is printed of a text that another process has made.
#include "poectl/host/visible_text.h"

#include <gtest/gtest.h>

namespace {

TEST(VisibleText, KeepsPrintableAsciiWithItsLineEndsAndTabs) {
  EXPECT_EQ(visibleText("a\tb ~\r\n\n"), "a\tb ~\r\n\n");
}

TEST(VisibleText, ShowsEveryOtherByteAsItsNumber) {
  EXPECT_EQ(visibleText("\033]0;x\a\r\b\x7F"), "\\x1B]0;x\\x07\\x0D\\x08\\x7F");
  EXPECT_EQ(visibleText(std::string("\0", 1)), "\\x00");
  EXPECT_EQ(visibleText("\x9B"
                        "2J \xC2\x9B"
                        "2J"),
            "\\x9B2J \\xC2\\x9B2J")
      << "8-bit control characters";
}

TEST(VisibleText, StaysInOneLineWhereItMust) {
  EXPECT_EQ(visibleLine("a\r\nb\tc"), "a\\x0D\\x0Ab\\x09c");
}

} // namespace
