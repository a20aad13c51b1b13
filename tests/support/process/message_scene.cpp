#include "tests/support/process/message_scene.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr std::size_t CONFIG_MESSAGE_SIZE = 1124;

void put(std::vector<std::uint8_t>& message, std::size_t offset, std::uint32_t word) {
  std::memcpy(message.data() + offset, &word, sizeof word);
}

struct Port {
  std::uint8_t isEnabled;
  std::uint32_t priority;
  std::uint32_t powerLimit; // mW
};

std::vector<std::uint8_t> configMessage(std::uint32_t limitOfPort1) {
  const Port ports[] = {{1, 1, 15000}, {1, 2, limitOfPort1}, {0, 3, 15000}, {1, 3, 15000}};
  std::vector<std::uint8_t> message(CONFIG_MESSAGE_SIZE);
  put(message, 20, 100); // bank 0
  put(message, 28, 85);  // bank 2
  put(message, 40, 200); // bank 5
  std::size_t offset = 52;
  for (const Port& port : ports) {
    message.at(offset) = port.isEnabled;
    put(message, offset + 4, port.priority);
    put(message, offset + 8, port.powerLimit);
    offset += 268;
  }
  return message;
}

} // namespace

const std::map<std::uint8_t, std::uint8_t> SCENE_REGISTERS = {
    {0x0C, 0x44}, {0x0D, 0x06}, {0x0E, 0x62}, {0x0F, 0x31},               // classes 4, none, 0, 3
    {0x10, 0x11},                                                         // port 0 is powered
    {0x42, 0x00}, {0x70, 0x0A},                                           // -18 degrees
    {0x77, 0x79}, {0x78, 0xC6}, {0x79, 0x93}, {0x7A, 0x6C}, {0x7B, 0x15}, // counts
    {0x7C, 0x4E}, {0x91, 0x10},                                           // bank 2
    {0x92, 22},   {0x93, 0},    {0x94, 3},    {0x95, 15},   {0x96, 40}};  // W

std::vector<std::uint8_t> sceneConfigMessage() {
  return configMessage(30000);
}

std::vector<std::uint8_t> sceneConfigMessageWithPort1At20Watts() {
  return configMessage(20000);
}

std::vector<std::uint8_t> sceneStatusMessage() {
  const std::uint32_t words[] = {
      17,   85, 1, 0,  40,                // the id, and the chip as a whole
      3,    4,  5, 22, 1,  4, 3, 0, 1, 2, // port 0
      2,    6,  0, 0,  2,  2, 0, 3, 1, 3, // port 1
      1,    2,  1, 3,  3,  0, 1, 2, 1, 0, // port 2
      4,    1,  4, 15, 1,  6, 2, 1, 0, 1, // port 3
      -18U, 0,                            // degrees; neither thermal shutdown nor device error
  };
  std::vector<std::uint8_t> message(sizeof words);
  std::memcpy(message.data(), words, sizeof words);
  return message;
}

std::string wordsOf(const std::vector<std::uint8_t>& bytes) {
  std::string text;
  for (std::size_t offset = 0; offset < bytes.size(); offset++) {
    if (offset % 4 == 0) {
      text += "\n" + std::to_string(offset) + ": ";
    }
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", bytes[offset]);
    text += digits;
  }
  return text;
}
