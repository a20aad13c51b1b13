// Both messages of a known scene as they pass the queues, byte by byte.
#include "tests/support/process/message_scene.h"
#include "tests/unit/service/engine_fixture.h"

namespace {

// Codes that the service hands on or never sends, and so never compares.
static_assert(POE_OPER_TEST == 5 && POE_DETECTION_UNKNOWN == 0 && POE_DETECTION_GOOD == 4 &&
              POE_DETECTION_OPEN_CIRCUIT == 6);

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

// Whether word `number` of the scene's status differs in the wrong byte order.
bool showsASwappedByteOrder(std::size_t number) {
  const std::vector<std::uint8_t> message = sceneStatusMessage();
  const auto word = message.begin() + static_cast<std::ptrdiff_t>(4 * number);
  const std::vector<std::uint8_t> bytes(word, word + 4);
  return bytes != std::vector<std::uint8_t>(bytes.rbegin(), bytes.rend());
}

// A comparison with the scene finds a field in the wrong byte order only where its bytes are not the same
// backwards, as they are for 0. Word 3 is reserved and word 46 has fields of one byte.
TEST(MessageScene, ShowsASwappedByteOrderOfEveryField) {
  constexpr std::size_t PORT = 5;
  constexpr std::size_t PORT_WORDS = sizeof(PoePortStatus) / 4;
  for (const std::size_t word : {0U, 1U, 2U, 4U, 45U}) {
    EXPECT_TRUE(showsASwappedByteOrder(word)) << word;
  }
  for (std::size_t field = PORT; field < PORT + PORT_WORDS; field++) {
    bool shows = false;
    for (std::size_t port = 0; port < 4; port++) {
      shows = shows || showsASwappedByteOrder(field + port * PORT_WORDS);
    }
    EXPECT_TRUE(shows) << "field " << field - PORT << " of a port";
  }
}

} // namespace
