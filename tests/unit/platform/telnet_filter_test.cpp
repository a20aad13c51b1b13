#include "platform/host/console/telnet_filter.h"

#include <string>

#include <gtest/gtest.h>

namespace {

// What is left of the bytes when they come in pieces of `size`.
std::string left(const std::string& sent, std::size_t size) {
  TelnetFilter filter;
  std::string text;
  for (std::size_t begin = 0; begin < sent.size(); begin += size) {
    std::string piece = sent.substr(begin, size);
    piece.resize(filter.filter(piece.data(), piece.size()));
    text += piece;
  }
  return text;
}

void expectLeft(const std::string& sent, const std::string& expected) {
  for (std::size_t size = 1; size <= sent.size(); ++size) {
    EXPECT_EQ(left(sent, size), expected) << "in pieces of " << size;
  }
}

} // namespace

TEST(TelnetFilter, LeavesOrdinaryBytesAlone) {
  std::string all;
  for (int byte = 0; byte < 255; ++byte) {
    all += static_cast<char>(byte);
  }
  expectLeft(all, all);
}

TEST(TelnetFilter, TakesOutTheOptionsThatAreNegotiated) {
  for (const char* const verb : {"\xFB", "\xFC", "\xFD", "\xFE"}) {
    expectLeft("he\xFF" + std::string(verb) + "\x18lp\n", "help\n");
    expectLeft("he\xFF" + std::string(verb) + "\xFFlp\n", "help\n");
  }
}

TEST(TelnetFilter, TakesOutACommandWithoutAnOption) {
  for (const char* const command : {"\xF0", "\xF1", "\xF4", "\xF9"}) {
    expectLeft("he\xFF" + std::string(command) + "lp\n", "help\n");
  }
}

TEST(TelnetFilter, TakesOutASubnegotiationUpToItsEnd) {
  expectLeft("he\xFF\xFA\x1F\n\xF0\xFF\xFF\xFF\xFBx\xFF\xF0lp\n", "help\n");
}

TEST(TelnetFilter, TakesADoubledIacForAByteOfThatValue) {
  expectLeft("a\xFF\xFF\xFF\xFF\xFB", "a\xFF\xFF\xFB");
}
