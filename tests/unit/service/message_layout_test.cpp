// Where each field of the two messages stands, in the byte order of the machine.
#include "components/PoeDriver/poe_messages.h"

#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

// A word as the bytes that stand in memory on this machine.
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr std::uint8_t WORD_01020304[] = {0x01, 0x02, 0x03, 0x04};
#else
constexpr std::uint8_t WORD_01020304[] = {0x04, 0x03, 0x02, 0x01};
#endif

template <typename Record>
std::vector<std::uint8_t> bytesOf(const Record& record) {
  std::vector<std::uint8_t> bytes(sizeof record);
  std::memcpy(bytes.data(), &record, sizeof record);
  return bytes;
}

// Expects the word 0x01020304 at `offset` and zeros everywhere else.
void expectWordAt(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
  std::vector<std::uint8_t> expected(bytes.size());
  std::memcpy(&expected.at(offset), WORD_01020304, 4);
  EXPECT_EQ(bytes, expected) << "offset " << offset;
}

TEST(ConfigurationMessage, HasEveryFieldAtItsOffset) {
  EXPECT_EQ(sizeof(PoeConfigMessage), 1124U);
  for (unsigned bank = 0; bank < 8; bank++) {
    PoeConfigMessage message{};
    message.config.bankPowerLimit[bank] = 0x01020304;
    expectWordAt(bytesOf(message), 4 + 16 + 4 * bank);
  }
  for (unsigned port = 0; port < 4; port++) {
    PoeConfigMessage priority{};
    priority.config.port[port].priority = 0x01020304;
    expectWordAt(bytesOf(priority), 4 + 48 + 268 * port + 4);
    PoeConfigMessage limit{};
    limit.config.port[port].powerLimit = 0x01020304;
    expectWordAt(bytesOf(limit), 4 + 48 + 268 * port + 8);
    PoeConfigMessage enable{};
    enable.config.port[port].adminEnable = 0xA5;
    EXPECT_EQ(bytesOf(enable).at(4 + 48 + 268 * port), 0xA5);
  }
}

TEST(StatusMessage, HasEveryFieldAtItsOffset) {
  EXPECT_EQ(sizeof(PoeStatusMessage), 188U);
  const auto expectHeadWord = [](std::uint32_t PoeStatus::*word, std::size_t offset) {
    PoeStatusMessage message{};
    message.status.*word = 0x01020304;
    expectWordAt(bytesOf(message), 4 + offset);
  };
  expectHeadWord(&PoeStatus::mainPower, 0);
  expectHeadWord(&PoeStatus::mainOperStatus, 4);
  expectHeadWord(&PoeStatus::reserved, 8);
  expectHeadWord(&PoeStatus::mainConsumption, 12);

  PoeStatusMessage tail{};
  tail.status.deviceTemperature = 0x01020304;
  expectWordAt(bytesOf(tail), 4 + 176);
  tail = {};
  tail.status.thermalShutdown = 0xA5;
  EXPECT_EQ(bytesOf(tail).at(4 + 180), 0xA5);
  tail = {};
  tail.status.devError = 0xA5;
  EXPECT_EQ(bytesOf(tail).at(4 + 181), 0xA5);
}

TEST(StatusMessage, HasTenWordsPerPort) {
  constexpr std::uint32_t PoePortStatus::*WORDS[] = {&PoePortStatus::operStatus,
                                                     &PoePortStatus::detectionStatus,
                                                     &PoePortStatus::powerClassification,
                                                     &PoePortStatus::powerConsumption,
                                                     &PoePortStatus::invalidSignatureCounter,
                                                     &PoePortStatus::powerDeniedCounter,
                                                     &PoePortStatus::overLoadCounter,
                                                     &PoePortStatus::underLoadCounter,
                                                     &PoePortStatus::shortCounter,
                                                     &PoePortStatus::classErrorCounter};
  for (unsigned port = 0; port < 4; port++) {
    std::size_t offset = 4 + 16 + 40 * port;
    for (const auto word : WORDS) {
      PoeStatusMessage message{};
      message.status.port[port].*word = 0x01020304;
      expectWordAt(bytesOf(message), offset);
      offset += 4;
    }
  }
}

TEST(StatusMessage, StartsWithItsNumberWhichIsSeventeen) {
  PoeStatusMessage message{};
  message.msgId = 0x01020304;
  expectWordAt(bytesOf(message), 0);
  EXPECT_EQ(MSGID_STATUS, 17U);
}

TEST(ConfigurationMessage, StartsWithItsNumberWhichIsZero) {
  PoeConfigMessage message{};
  message.msgId = 0x01020304;
  expectWordAt(bytesOf(message), 0);
  EXPECT_EQ(MSGID_CONFIG, 0U);
}

} // namespace
