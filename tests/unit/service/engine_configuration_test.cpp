// What a configuration from the main process makes of the chip.
#include "tests/unit/service/engine_fixture.h"

namespace {

class EngineConfiguration : public EngineTest {
protected:
  // Runs one cycle, then the step on an active engine whose set-up is done and forgotten.
  void whileActive(const Step& step) {
    makeEngine();
    runCycles({[&] {
      registersMoved();
      takeLog();
      step();
    }});
  }
};

TEST_F(EngineConfiguration, SwitchesAPortOnInEightStepsWithTheseValues) {
  PoeConfig config{};
  config.port[1].adminEnable = 0xFF;
  config.port[1].priority = 3;
  config.port[1].powerLimit = 15999;
  whileActive([&] {
    registers[0x15] = 0xFF;
    registers[0x1E] = 0xFF;
    registers[0x4B] = 0xFF;
    configure(config);
    EXPECT_EQ(bus.takeTransfers(),
              (Transfers{R(0x12, 0x00), W(0x12, 0x0C), R(0x80, 0x00), W(0x80, 0x08), W(0x82, 15),
                         W(0x86, 0),    R(0x13, 0x00), W(0x13, 0x02), R(0x15, 0xFF), W(0x15, 0xFD),
                         R(0x1E, 0xFF), W(0x1E, 0x0F), R(0x44, 0x00), W(0x44, 0x02), R(0x4B, 0xFF),
                         W(0x4B, 0xFD), W(0x4C, 0xD4), W(0x4D, 0x80), R(0x14, 0x00), W(0x14, 0x22)}));
  });
}

TEST_F(EngineConfiguration, CapsABankAt161WattsAndComparesWhatWasSent) {
  PoeConfig config{};
  config.bankPowerLimit[0] = 200;
  config.bankPowerLimit[1] = 161;
  config.bankPowerLimit[2] = 0xFFFFFFFF;
  config.bankPowerLimit[3] = 160;
  whileActive([&] {
    configure(config);
    EXPECT_EQ(bus.takeTransfers(), (Transfers{W(0x89, 161), W(0x8A, 161), W(0x8B, 161), W(0x8C, 160)}));
    configure(config);
    EXPECT_EQ(registersMoved(), "");
    config.bankPowerLimit[0] = 201; // the same 161 on the chip, but another wish
    configure(config);
    EXPECT_EQ(bus.takeTransfers(), (Transfers{W(0x89, 161)}));
  });
}

TEST_F(EngineConfiguration, ProgramsFortyWattsForNoLimitAndForTooHighOnes) {
  const std::pair<std::uint32_t, std::uint8_t> rows[] = {
      {0, 40}, {40000, 40}, {40001, 40}, {50000, 40}, {39999, 39}, {0xFFFFFFFF, 40}, {1, 0}};
  whileActive([&] {
    PoeConfig config = fourPorts();
    configure(config);
    for (const auto& [powerLimit, watts] : rows) {
      registers[0x81] = 0xAA;
      config.port[0].powerLimit = powerLimit;
      configure(config);
      EXPECT_EQ(registers[0x81], watts) << powerLimit << " mW";
      EXPECT_EQ(registers[0x85], 0);
    }
  });
}

TEST_F(EngineConfiguration, SwitchesOnAgainThePortOfWhichAnyFieldAloneHasChanged) {
  whileActive([&] {
    PoeConfig config = fourPorts();
    configure(config);
    registersMoved();
    config.port[0].priority++;
    config.port[2].powerLimit++;
    configure(config);
    EXPECT_EQ(registersMoved(), SWITCH_ON[0] + SWITCH_ON[2]);
    config.port[1].adminEnable = 0;
    config.port[3].adminEnable++; // any value but 0 is on
    configure(config);
    EXPECT_EQ(registersMoved(), "R12 W12 R14 W14 " + SWITCH_ON[3]);
  });
}

TEST_F(EngineConfiguration, NeedsNoAlignmentOfThePayload) {
  whileActive([&] {
    const PoeConfig config = fourPorts();
    std::vector<char> bytes(sizeof config + 1);
    std::memcpy(bytes.data() + 1, &config, sizeof config);
    EXPECT_TRUE(engine->handleConfig(bytes.data() + 1, 0)); // nor does the length matter
    EXPECT_EQ(registersMoved(), "W89 " + SWITCH_ON[0] + SWITCH_ON[1] + SWITCH_ON[2] + SWITCH_ON[3]);
  });
}

TEST_F(EngineConfiguration, ApplyDoesNotStore) {
  whileActive([&] {
    EXPECT_TRUE(engine->applyConfig(fourPorts(), false));
    registersMoved();
    EXPECT_TRUE(engine->applyConfig(fourPorts(), false));
    EXPECT_NE(registersMoved(), "");
  });
}

} // namespace
