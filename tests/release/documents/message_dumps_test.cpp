// The dumps of docs/messages.md against the records: the column of the byte order that this is built for.
#include "poe_messages.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
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

// The bytes of a cell: "64 00 00 00", or "00 x 28".
Bytes bytesIn(const std::string& cell) {
  const std::size_t times = cell.find(" x ");
  if (times != std::string::npos) {
    return Bytes(std::stoul(cell.substr(times + 3)), hexNumber(cell));
  }
  std::istringstream words(cell);
  Bytes bytes;
  for (std::string word; words >> word;) {
    bytes.push_back(hexNumber(word));
  }
  return bytes;
}

// The bytes of the dump below a heading. A row has offset, little-endian bytes, big-endian bytes and field.
Bytes dumpBelow(const std::string& heading) {
  const std::regex row("    ([0-9a-f]{4})    (.{11})    (.{11})  .+");
  std::ifstream document(MESSAGES_DOCUMENT);
  Bytes bytes;
  bool isBelow = false;
  for (std::string line; std::getline(document, line);) {
    if (line.compare(0, 1, "#") == 0) {
      isBelow = line == heading;
    }
    std::smatch cells;
    if (isBelow && std::regex_match(line, cells, row)) {
      EXPECT_EQ(hexNumber(cells[1]), bytes.size()) << line;
      const Bytes more = bytesIn(cells[isBigEndian() ? 3 : 2]);
      bytes.insert(bytes.end(), more.begin(), more.end());
    }
  }
  return bytes;
}

TEST(MessagesDocument, ShowsTheBytesOfTheExampleConfiguration) {
  PoeConfigMessage message{};
  message.config.bankPowerLimit[0] = 100;
  message.config.port[0] = {1, {}, 1, 15000, {}};
  message.config.port[1] = {1, {}, 2, 30000, {}};
  message.config.port[2] = {1, {}, 3, 15000, {}};
  message.config.port[3] = {0, {}, 3, 0, {}};

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
