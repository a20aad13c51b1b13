// Results in the form of the Test Anything Protocol.
#include "poectl/scenario/tap.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

TEST(Tap, ShowsAFailureWithItsCommentsAndRemembersIt) {
  std::ostringstream out;
  Tap tap(out, 2);
  tap.result(false, "a");
  tap.comment("why\n\nand how\n");
  tap.result(true, "b");
  EXPECT_EQ(out.str(), "TAP version 13\n1..2\nnot ok 1 - a\n# why\n#\n# and how\nok 2 - b\n");
  EXPECT_FALSE(tap.allOk());
}

TEST(Tap, SaysNothingForAnEmptyComment) {
  std::ostringstream out;
  Tap tap(out, 1);
  tap.comment("");
  EXPECT_EQ(out.str(), "TAP version 13\n1..1\n");
}

TEST(Tap, LetsNoDescriptionBeADirective) {
  std::ostringstream out;
  Tap tap(out, 1);
  tap.result(true, "console a # TODO \\");
  EXPECT_EQ(out.str(), "TAP version 13\n1..1\nok 1 - console a \\# TODO \\\\\n");
}

} // namespace
