// Whole cycles of the worker: without the heap, with every transfer failing in turn, and with a chip that
// behaves.
#include "simulator/chip/chip_model.h"
#include "tests/unit/service/engine_fixture.h"

namespace {

class WorkerCycle : public EngineTest {};

TEST_F(WorkerCycle, MakesSixtyFourTransfersOnAHealthyConfiguredUndisturbedChip) {
  makeEngine();
  runCycles({[&] { configure(fourPorts()); }, [&] { registersMoved(); },
             [&] {
               const Transfers made = bus.takeTransfers();
               EXPECT_EQ(made.size(), 64U);
               EXPECT_EQ(registersOf(made), HEALTHY_CYCLE);
             }});
  takeLog();
}

TEST_F(WorkerCycle, AllocatesNothing) {
  makeEngine();
  std::size_t before = 0;
  runCycles({[&] { configure(fourPorts()); },
             [&] {
               takeLog();
               before = allocationCount();
               // The count itself works.
               const auto one = std::make_unique<int>(1);
             },
             [&] { EXPECT_EQ(allocationCount(), before); }});
}

TEST_F(WorkerCycle, ApplyingAConfigurationAllocatesNothing) {
  makeEngine();
  const PoeConfig config = fourPorts();
  runCycles({[&] {
    const std::size_t before = allocationCount();
    configure(config);
    configure(config);
    EXPECT_EQ(allocationCount(), before);
  }});
  takeLog();
}

// The chip's answer to everything, as it is when it is configured and powers port 0.
class DisturbedCycle : public EngineTest {
protected:
  DisturbedCycle() {
    registers[0x10] = 0x11;
    registers[0x0C] = 0x44;
    registers[0x92] = 12;
    registers[0x96] = 12;
    registers[0x43] = 0x42;
    registers[0x70] = 70;
  }

  // Runs a cycle in which the transfers of `fails` fail, and expects the healthy state back after two more.
  void expectHealing(const std::function<bool(std::size_t)>& fails) {
    PoeStatus healthy{};
    std::string configured;
    runCycles({[&] { configure(fourPorts()); }, [] {},
               [&] {
                 healthy = status();
                 configured = image();
                 EXPECT_EQ(operStates(), "3 2 2 2 ");
                 takeLog();
                 registersMoved();
                 bus.failWhen([=](std::size_t number, const Transfer&) { return fails(number); });
               },
               [&] {
                 bus.failNone();
                 EXPECT_EQ(posix.messages.size(), 4U); // sent all the same
                 const LogLines log = takeLog();
                 ASSERT_FALSE(log.empty());
                 EXPECT_EQ(log.at(0).text.rfind("SWERR ERROR DETECTED: components/PoeDriver/pd69104 ", 0),
                           0U);
               },
               [&] { takeLog(); },
               [&] {
                 registersMoved();
                 const PoeStatus now = status();
                 EXPECT_EQ(std::memcmp(&now, &healthy, sizeof now), 0);
                 EXPECT_EQ(image(), configured);
                 EXPECT_EQ(takeLog(), LogLines{});
               },
               [&] { EXPECT_EQ(registersMoved(), HEALTHY_CYCLE); }});
    posix.messages.clear();
    EXPECT_EQ(takeLog(), LogLines{});
  }

private:
  std::string image() {
    std::string bytes;
    for (unsigned reg = 0; reg <= 0xCE; reg++) {
      bytes += static_cast<char>(registers[reg]);
    }
    return bytes;
  }
};

TEST_F(DisturbedCycle, HealsAfterEveryTransferThatFailsAlone) {
  for (std::size_t failing = 0; failing < 64; failing++) {
    SCOPED_TRACE("transfer " + std::to_string(failing));
    makeEngine();
    expectHealing([=](std::size_t number) { return number == failing; });
  }
}

TEST_F(DisturbedCycle, HealsAfterEveryTransferFromWhichOnAllFail) {
  for (std::size_t failing = 0; failing < 64; failing++) {
    SCOPED_TRACE("from transfer " + std::to_string(failing));
    makeEngine();
    expectHealing([=](std::size_t number) { return number >= failing; });
  }
}

// The chip model on the bus, a second of its time for each cycle.
class ModelOnBus : public BusDevice {
public:
  bool read(std::uint8_t reg, std::uint8_t* value) override { return model.read(reg, value); }
  bool write(std::uint8_t reg, std::uint8_t value) override { return model.write(reg, value); }

  ChipModel model;
};

class LivingChip : public StrictLogTest {
protected:
  using Step = std::function<void()>;

  void TearDown() override {
    onSleep({});
    StrictLogTest::TearDown();
  }

  // Runs the engine for the steps; each is taken after its cycle, then a second passes on the chip.
  void run(const std::vector<Step>& steps) {
    CPD69104Engine engine;
    theEngine = &engine;
    std::size_t cycle = 0;
    onSleep([&](double seconds) {
      steps.at(cycle++)();
      chip.model.advance(seconds);
      if (cycle == steps.size()) {
        engine.stop();
      }
    });
    engine.start();
    posix.runThread();
  }

  void configure(std::uint32_t bankLimit, const std::vector<std::uint32_t>& portLimits) {
    PoeConfig config{};
    config.bankPowerLimit[0] = bankLimit;
    for (std::size_t port = 0; port < portLimits.size(); port++) {
      config.port[port].adminEnable = 1;
      config.port[port].priority = 1;
      config.port[port].powerLimit = portLimits[port];
    }
    theEngine->handleConfig(&config, sizeof config);
    takeLog();
  }

  PoePortStatus port(unsigned number) const { return posix.lastMessage().status.port[number]; }

  ModelOnBus chip;
  I2cBus bus{chip};
  PosixDoubles posix;
  CPD69104Engine* theEngine = nullptr;
};

TEST_F(LivingChip, DeliversPowerToAPluggedDeviceSoonAfterTheConfiguration) {
  chip.model.plug(0, {ChipModel::Signature::Good, 2, 6.0});
  run({[&] {
         configure(100, {15000, 15000});
       },
       [] {}, [&] { takeLog(); },
       [&] {
         EXPECT_EQ(port(0).operStatus, 3U);
         EXPECT_EQ(port(0).powerClassification, 3U);
         EXPECT_EQ(port(0).powerConsumption, 6U);
         EXPECT_EQ(port(0).detectionStatus, 4U);
         EXPECT_EQ(port(1).operStatus, 2U);
         EXPECT_EQ(port(2).operStatus, 1U);
         EXPECT_EQ(posix.lastMessage().status.mainPower, 100U);
         EXPECT_EQ(posix.lastMessage().status.mainConsumption, 6U);
       }});
}

TEST_F(LivingChip, CountsAnUnpluggedDeviceAndSearchesAgain) {
  chip.model.plug(0, {ChipModel::Signature::Good, 2, 6.0});
  run({[&] { configure(100, {15000}); }, [] {}, [] {}, [&] { chip.model.unplug(0); }, [] {},
       [&] {
         EXPECT_EQ(port(0).operStatus, 2U);
         EXPECT_EQ(port(0).underLoadCounter, 1U);
         EXPECT_EQ(port(0).powerConsumption, 0U);
       }});
  takeLog();
}

TEST_F(LivingChip, PowersItsPortsAgainAfterAPowerCycle) {
  chip.model.plug(3, {ChipModel::Signature::Good, 3, 9.0});
  run({[&] {
         configure(100, {0, 0, 0, 15000});
       },
       [] {}, [] {},
       [&] {
         EXPECT_EQ(port(3).operStatus, 3U);
         takeLog();
         chip.model.powerCycle();
       },
       [&] {
         EXPECT_EQ(takeLog(), REINIT_NOTICE);
         EXPECT_EQ(posix.lastMessage().status.mainOperStatus, 1U);
       },
       [] {}, [&] { EXPECT_EQ(port(3).operStatus, 3U); }});
}

} // namespace
