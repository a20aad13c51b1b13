#include "tests/support/process/message_scene.h"

#include <cstdio>

namespace {

constexpr std::size_t CONFIG_MESSAGE_SIZE = 1124;

struct Bytes {
  std::size_t offset;
  const char* hex;
};

// clang-format off
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr Bytes CONFIG_BYTES[] = {{20, "00000064"},                             // bank 0
                                  {28, "00000055"},                             // bank 2
                                  {40, "000000C8"},                             // bank 5
                                  {52, "01"},  {56, "00000001" "00003A98"},     // port 0
                                  {320, "01"}, {324, "00000002" "00007530"},    // port 1
                                  {588, "00"}, {592, "00000003" "00003A98"},    // port 2
                                  {856, "01"}, {860, "00000003" "00003A98"}};   // port 3
constexpr Bytes PORT_1_AT_20_WATTS = {328, "00004E20"};
constexpr const char STATUS_BYTES[] =
    "00000011" "00000055" "00000001" "00000000" "00000028"
    "00000003" "00000004" "00000005" "00000016" "00000001" "00000004" "00000003" "00000000" "00000001" "00000002"
    "00000002" "00000006" "00000000" "00000000" "00000002" "00000002" "00000000" "00000003" "00000001" "00000003"
    "00000001" "00000002" "00000001" "00000003" "00000003" "00000000" "00000001" "00000002" "00000001" "00000000"
    "00000004" "00000001" "00000004" "0000000F" "00000001" "00000006" "00000002" "00000001" "00000000" "00000001"
    "FFFFFFEE" "00" "00" "0000";
#else
constexpr Bytes CONFIG_BYTES[] = {{20, "64000000"},                             // bank 0
                                  {28, "55000000"},                             // bank 2
                                  {40, "C8000000"},                             // bank 5
                                  {52, "01"},  {56, "01000000" "983A0000"},     // port 0
                                  {320, "01"}, {324, "02000000" "30750000"},    // port 1
                                  {588, "00"}, {592, "03000000" "983A0000"},    // port 2
                                  {856, "01"}, {860, "03000000" "983A0000"}};   // port 3
constexpr Bytes PORT_1_AT_20_WATTS = {328, "204E0000"};
constexpr const char STATUS_BYTES[] =
    "11000000" "55000000" "01000000" "00000000" "28000000"
    "03000000" "04000000" "05000000" "16000000" "01000000" "04000000" "03000000" "00000000" "01000000" "02000000"
    "02000000" "06000000" "00000000" "00000000" "02000000" "02000000" "00000000" "03000000" "01000000" "03000000"
    "01000000" "02000000" "01000000" "03000000" "03000000" "00000000" "01000000" "02000000" "01000000" "00000000"
    "04000000" "01000000" "04000000" "0F000000" "01000000" "06000000" "02000000" "01000000" "00000000" "01000000"
    "EEFFFFFF" "00" "00" "0000";
#endif
// clang-format on

std::vector<std::uint8_t> fromHex(const std::string& hex) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t digit = 0; digit < hex.size(); digit += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(digit, 2), nullptr, 16)));
  }
  return bytes;
}

void put(std::vector<std::uint8_t>& message, const Bytes& bytes) {
  std::size_t offset = bytes.offset;
  for (const std::uint8_t byte : fromHex(bytes.hex)) {
    message.at(offset++) = byte;
  }
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
  std::vector<std::uint8_t> message(CONFIG_MESSAGE_SIZE);
  for (const Bytes& bytes : CONFIG_BYTES) {
    put(message, bytes);
  }
  return message;
}

std::vector<std::uint8_t> sceneConfigMessageWithPort1At20Watts() {
  std::vector<std::uint8_t> message = sceneConfigMessage();
  put(message, PORT_1_AT_20_WATTS);
  return message;
}

std::vector<std::uint8_t> sceneStatusMessage() {
  return fromHex(STATUS_BYTES);
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
