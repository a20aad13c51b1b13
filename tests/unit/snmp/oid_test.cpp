// Object identifiers as texts.
#include "poectl/snmp/oid.h"

#include <gtest/gtest.h>

namespace {

TEST(Oid, IsReadWithAndWithoutItsFirstDot) {
  EXPECT_EQ(oidFrom(".1.3.6.1"), (Oid{1, 3, 6, 1}));
  EXPECT_EQ(oidFrom("1.3.6.1"), (Oid{1, 3, 6, 1}));
  EXPECT_EQ(oidFrom(".0"), Oid{0});
  EXPECT_EQ(oidFrom(".1.4294967295"), (Oid{1, 4294967295}));
  EXPECT_EQ(oidText({1, 3, 4294967295}), ".1.3.4294967295");
}

TEST(Oid, HasAtMost128Numbers) {
  std::string text;
  for (unsigned count = 1; count <= 128; count++) {
    text += ".1";
  }
  EXPECT_EQ(oidFrom(text), Oid(128, 1));
  EXPECT_EQ(oidFrom(text + ".1"), std::nullopt);
}

TEST(Oid, IsNothingElse) {
  for (const char* const text : {"", ".", "..1", ".1.", ".1..2", ".1.-2", ".1.+2", ".1. 2", ".1.2 ", ".1.0x2",
                                 ".1.a", ".1.4294967296", ".1.99999999999999999999", "PING"}) {
    EXPECT_EQ(oidFrom(text), std::nullopt) << text;
  }
}

} // namespace
