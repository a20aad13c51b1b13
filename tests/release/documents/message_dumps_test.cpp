// The dumps of docs/messages.md against the records: the column of the byte order that this is built for.
#include "poe_messages.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned>;

template <typename Record>
Bytes bytesOf(const Record& record) {
  Bytes bytes(sizeof record);
  std::copy_n(reinterpret_cast<const unsigned char*>(&record), sizeof record, bytes.begin());
  return bytes;
}

bool isBigEndian() {
  const std::uint16_t one = 1;
  return *reinterpret_cast<const unsigned char*>(&one) == 0;
}

unsigned hexNumber(const std::string& text) {
  return static_cast<unsigned>(std::stoul(text, nullptr, 16));
}

// "64 00 00 00" or "00 x 28".
void append(Bytes& bytes, const std::string& cell) {
  const std::size_t times = cell.find(" x ");
  if (times != std::string::npos) {
    bytes.insert(bytes.end(), std::stoul(cell.substr(times + 3)), hexNumber(cell.substr(0, 2)));
    return;
  }
  for (std::size_t at = 0; at < cell.size(); at += 3) {
    bytes.push_back(hexNumber(cell.substr(at, 2)));
  }
}

// The columns of a dump's rows: indentation, offset, little-endian bytes, big-endian bytes, field.
constexpr std::size_t OFFSET = 4;
constexpr std::size_t OFFSET_WIDTH = 4;
constexpr std::size_t LITTLE_ENDIAN_BYTES = 12;
constexpr std::size_t BIG_ENDIAN_BYTES = 27;
constexpr std::size_t BYTES_WIDTH = 11;
constexpr std::size_t FIELD = 40;

bool isRow(const std::string& line) {
  return line.size() > FIELD && line.find_first_not_of(' ') == OFFSET &&
         line.find_first_not_of("0123456789abcdef", OFFSET) == OFFSET + OFFSET_WIDTH;
}

// The bytes of the dump below a heading.
Bytes dumpBelow(const std::string& heading) {
  const std::size_t column = isBigEndian() ? BIG_ENDIAN_BYTES : LITTLE_ENDIAN_BYTES;
  std::ifstream document(MESSAGES_DOCUMENT);
  Bytes bytes;
  bool isBelow = false;
  for (std::string line; std::getline(document, line);) {
    if (line.compare(0, 1, "#") == 0) {
      isBelow = line == heading;
    }
    if (isBelow && isRow(line)) {
      EXPECT_EQ(hexNumber(line.substr(OFFSET, OFFSET_WIDTH)), bytes.size()) << line;
      const std::string cell = line.substr(column, BYTES_WIDTH);
      append(bytes, cell.substr(0, cell.find_last_not_of(' ') + 1));
    }
  }
  return bytes;
}

PoePortConfig portConfig(bool enabled, std::uint32_t priority, std::uint32_t powerLimit) {
  PoePortConfig port{};
  port.adminEnable = enabled;
  port.priority = priority;
  port.powerLimit = powerLimit;
  return port;
}

TEST(MessagesDocument, ShowsTheBytesOfTheExampleConfiguration) {
  PoeConfigMessage message{};
  message.config.bankPowerLimit[0] = 100;
  message.config.port[0] = portConfig(true, 1, 15000);
  message.config.port[1] = portConfig(true, 2, 30000);
  message.config.port[2] = portConfig(true, 3, 15000);
  message.config.port[3] = portConfig(false, 3, 0);

  EXPECT_EQ(dumpBelow("### A configuration, byte by byte"), bytesOf(message));
}

TEST(MessagesDocument, ShowsTheBytesOfAStatusWithTwoPoweredPorts) {
  PoeStatusMessage message{};
  message.msgId = 17;
  message.status.mainPower = 100;
  message.status.mainOperStatus = 1;
  message.status.mainConsumption = 28;
  message.status.port[0] = {3, 4, 3, 6, 0, 0, 0, 0, 0, 0};
  message.status.port[1] = {3, 4, 5, 22, 0, 0, 0, 0, 0, 0};
  message.status.port[2] = {2, 6, 0, 0, 0, 0, 0, 0, 0, 0};
  message.status.port[3] = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  message.status.deviceTemperature = 40;

  EXPECT_EQ(dumpBelow("### A status, byte by byte"), bytesOf(message));
}

} // namespace
