// Results in the form of the Test Anything Protocol.
#include "poectl/scenario/tap.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

TEST(Tap, NumbersTheResultsAfterThePlan) {
  std::ostringstream out;
  Tap tap(out, 2);
  tap.result(true, "line 1: wait 1");
  tap.result(true, "line 2: wait 2");
  EXPECT_EQ(out.str(), "TAP version 13\n1..2\nok 1 - line 1: wait 1\nok 2 - line 2: wait 2\n");
  EXPECT_TRUE(tap.allOk());
}

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

TEST(Tap, FailsWhenItBailsOut) {
  std::ostringstream out;
  Tap tap(out, 1);
  tap.bailOut("no service");
  EXPECT_EQ(out.str(), "TAP version 13\n1..1\nBail out! no service\n");
  EXPECT_FALSE(tap.allOk());
}

} // namespace
