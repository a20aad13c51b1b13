// Both messages of a known scene as they pass the queues, byte by byte.
#include "tests/support/process/message_scene.h"
#include "tests/unit/service/engine_fixture.h"

namespace {

class MessageBytes : public EngineTest {
protected:
  void TearDown() override {
    takeLog();
    EngineTest::TearDown();
  }

  void configure(const std::vector<std::uint8_t>& message) {
    engine->handleConfig(message.data() + 4, message.size() - 4);
  }
};

TEST_F(MessageBytes, OfAConfigurationAreTakenInTheMachinesByteOrder) {
  makeEngine();
  runCycles({[&] { configure(sceneConfigMessage()); }, [&] {}});
  EXPECT_EQ(registers[0x89], 100);
  EXPECT_EQ(registers[0x8B], 85);
  EXPECT_EQ(registers[0x8E], 161);
  EXPECT_EQ(registers[0x12], 0xCF);
  EXPECT_EQ(registers[0x80], 0x84);
  EXPECT_EQ(registers[0x81], 15);
  EXPECT_EQ(registers[0x82], 30);
  EXPECT_EQ(registers[0x83], 0);
  EXPECT_EQ(registers[0x84], 15);
}

TEST_F(MessageBytes, OfAStatusAreSentInTheMachinesByteOrder) {
  makeEngine();
  runCycles({[&] { configure(sceneConfigMessage()); },
             [&] {
               for (const auto& [reg, value] : SCENE_REGISTERS) {
                 registers[reg] = value;
               }
             },
             [&] { EXPECT_EQ(wordsOf(posix.messages.back()), wordsOf(sceneStatusMessage())); }});
}

} // namespace
