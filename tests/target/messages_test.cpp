// Both messages through the real queues, and what a configuration does to the chip.
#include "tests/target/support/target_fixture.h"

namespace {

// The registers after the scene's configuration when all held 0x5A before.
Registers configuredRegisters() {
  Registers registers{};
  registers.fill(0x5A);
  const std::map<unsigned, std::uint8_t> written = {
      {0x12, 0xCF}, {0x13, 0x5B}, {0x14, 0xBB}, {0x15, 0x50}, // modes, detection
      {0x1E, 0x00}, {0x1F, 0x0A}, {0x44, 0x5B},               // timers, high power
      {0x46, 0x59}, {0x47, 0xD4}, {0x48, 0x80}, {0x4B, 0x59}, {0x4C, 0xD4}, {0x4D, 0x80}, // ports 0 and 1
      {0x55, 0x59}, {0x56, 0xD4}, {0x57, 0x80},                                           // port 3
      {0x7F, 0x58}, {0x80, 0x94},                                                         // priorities
      {0x81, 15},   {0x82, 30},   {0x84, 15},   {0x85, 0},    {0x86, 0},    {0x88, 0},    // limits
      {0x89, 100},  {0x8A, 0},    {0x8B, 85},   {0x8C, 0},    {0x8D, 0},    {0x8E, 161},  // banks
      {0x8F, 0},    {0x90, 0}};
  for (const auto& [reg, value] : written) {
    registers[reg] = value;
  }
  return registers;
}

using Configuration = TargetTest;

TEST_F(Configuration, OfAFirstMessageIsWrittenToEveryRegister) {
  chip->fill(0x5A);
  startService();
  send(sceneConfigMessage());
  nextWholeStatus();
  EXPECT_EQ(differences(chip->readAll(), configuredRegisters()), "");
  EXPECT_EQ(log.take(), START_LOG);
}

using Status = TargetTest;

TEST_F(Status, StandsInTheMessageByteForByte) {
  startService();
  configureScene();
  chip->write(SCENE_REGISTERS);
  nextWholeStatus();
  const std::vector<char> bytes = status->nextBytes();
  EXPECT_EQ(wordsOf({bytes.begin(), bytes.end()}), wordsOf(sceneStatusMessage()));
  EXPECT_EQ(log.take(), START_LOG);
}

} // namespace
