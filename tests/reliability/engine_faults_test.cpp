// The engine with every transfer of an operation failing, alone and from there on, and with every second
// failure in the cycle that follows: records, log, status, transfers and replies are the model's after each
// step, and the next healthy cycle brings registers and status back.
#include "tests/reliability/configured_registers.h"
#include "tests/reliability/fault_walk.h"
#include "tests/reliability/service_pair.h"
#include "tests/support/log_capture.h"

#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace {

// Ports 0 to 2 are switched on, ports 0 and 1 powered.
PoeConfig fittingConfig() {
  PoeConfig config{};
  config.bankPowerLimit[0] = 100;
  config.bankPowerLimit[3] = 200; // more than the chip is given
  for (unsigned port = 0; port < 3; port++) {
    config.port[port] = {1, {}, port + 1, 10000 + 5000 * port, {}};
  }
  return config;
}

// Port 0 fits, port 1 does not, port 2 is switched off and has a priority that is never served.
PoeConfig exceedingConfig() {
  PoeConfig config = fittingConfig();
  config.bankPowerLimit[0] = 20;
  config.port[2].adminEnable = 0;
  config.port[2].priority = 0;
  return config;
}

// The chip is taken for one that has lost its configuration in every cycle.
PoeConfig markedConfig() {
  PoeConfig config{};
  config.bankPowerLimit[7] = 9;
  config.port[1] = {1, {}, 2, 0, {}};
  return config;
}

// What is done under the first fault. Without an operation it is the next cycle.
struct Scenario {
  const char* name;
  PoeConfig config;
  std::function<void(ServicePair& pair, RegisterFile& registers)> disturb;
  std::function<void(ServicePair& pair)> operate;
};

void powerCycle(ServicePair& /*pair*/, RegisterFile& registers) {
  for (const unsigned reg : {0x12U, 0x13U, 0x14U, 0x15U, 0x1EU, 0x1FU, 0x44U, 0x46U, 0x4BU, 0x50U, 0x55U}) {
    registers[reg] = 0;
  }
  for (unsigned reg = 0x80; reg <= 0x90; reg++) {
    registers[reg] = 0xAA;
  }
  registers[0x7F] = 2;
}

Scenario cycle(const char* name, const PoeConfig& config) {
  return {name, config, [](ServicePair&, RegisterFile&) {}, nullptr};
}

Scenario operation(const char* name, std::function<void(ServicePair& pair)> operate) {
  return {name, exceedingConfig(), [](ServicePair&, RegisterFile&) {}, std::move(operate)};
}

std::vector<Scenario> scenarios() {
  return {
      cycle("AWorkerCycle", fittingConfig()),
      cycle("AWorkerCycleThatRestartsPorts", exceedingConfig()),
      cycle("AWorkerCycleWithAMarkerThatIsNeverZero", markedConfig()),
      {"ARecovery", fittingConfig(), powerCycle, nullptr},
      {"AChangedConfiguration", fittingConfig(),
       [](ServicePair& pair, RegisterFile&) { pair.handleConfig(exceedingConfig()); },
       [](ServicePair& pair) { pair.handleConfig(fittingConfig()); }},
      operation("ConfigurePortOn",
                [](ServicePair& pair) { pair.configurePort(1, exceedingConfig().port[1]); }),
      operation("ConfigurePortOff",
                [](ServicePair& pair) { pair.configurePort(3, exceedingConfig().port[3]); }),
      operation("ApplyConfigByForce", [](ServicePair& pair) { pair.applyConfig(exceedingConfig(), true); }),
      operation("CheckChip", [](ServicePair& pair) { pair.checkChip(); }),
      {"CheckChipThatHasLostItsConfiguration", fittingConfig(), powerCycle,
       [](ServicePair& pair) { pair.checkChip(); }},
      operation("Audit", [](ServicePair& pair) { pair.audit(); }),
      operation("PollPort", [](ServicePair& pair) { pair.pollPort(2); }),
      operation("UpdateOperStatus", [](ServicePair& pair) { pair.updateOperStatus(); }),
      operation("SendStatus", [](ServicePair& pair) { pair.sendStatus(); }),
      operation("TheConsoleReports",
                [](ServicePair& pair) {
                  pair.reportLive();
                  pair.reportCached();
                }),
  };
}

void PrintTo(const Scenario& scenario, std::ostream* out) {
  *out << scenario.name;
}

std::string image(RegisterFile& registers) {
  std::string bytes;
  for (unsigned reg = 0; reg <= 0xCE; reg++) {
    bytes += static_cast<char>(registers[reg]);
  }
  return bytes;
}

void setPoweredPorts(RegisterFile& registers) {
  registers[0x10] = 0x33; // ports 0 and 1
  registers[0x0C] = 0x44;
  registers[0x0D] = 0x14;
  registers[0x0E] = 0x06;
  registers[0x0F] = 0x51;
  registers[0x53] = 2;
  registers[0x76] = 0x80;
  registers[0x43] = 0x42;
  registers[0x70] = 70;
  registers[0x71] = 0x27;
  registers[0x72] = 0x24;
  registers[0x77] = 0x1B;
  registers[0x78] = 0xE4;
  registers[0x92] = 12;
  registers[0x96] = 12;
  registers[0xCB] = 0xED;
}

// What a healed service looks like; the one without a fault is what all others must look like.
class Healed {
public:
  void forget() { m_image.clear(); }

  std::string differs(ServicePair& pair, RegisterFile& registers, const PoeConfig& config) {
    const std::string configured =
        differsFromConfiguration(config, [&](unsigned reg) { return registers[reg]; });
    if (!configured.empty()) {
      return configured;
    }
    if (m_image.empty()) {
      m_image = image(registers);
      m_status = pair.status();
    }
    if (image(registers) != m_image) {
      return "the registers are not what they were";
    }
    return std::memcmp(&m_status, &pair.status(), sizeof m_status) == 0 ? ""
                                                                        : "the status is not what it was";
  }

private:
  std::string m_image;
  PoeStatus m_status{};
};

class EveryEngineFault : public StrictLogTest, public ::testing::WithParamInterface<Scenario> {
protected:
  EveryEngineFault() {
    setPoweredPorts(m_registers);
    m_pair.construct();
  }

  // Called after each cycle: checks it, and prepares the next.
  bool step() {
    if (m_phase == Phase::Start) {
      m_pair.handleConfig(GetParam().config);
      m_phase = Phase::Heal;
    } else if (m_phase == Phase::First) {
      beginSecond();
    } else if (m_phase == Phase::Second) {
      if (m_second.isFaultless()) {
        m_second.learn(m_transfers);
        m_pair.reportCached();
      }
      m_pair.bus.failNone();
      m_phase = Phase::Heal;
    } else {
      expectHealed();
      return !HasFailure() && beginNext();
    }
    expectAgreement();
    return !HasFailure();
  }

  ServicePair& pair() { return m_pair; }
  std::size_t tried() const { return m_tried; }

private:
  // What the cycle has been that has just ended.
  enum class Phase { Start, First, Second, Heal };

  void expectAgreement() {
    EXPECT_EQ(m_pair.takeDifferences(), "") << m_first.text() << ", then " << m_second.text();
  }

  void expectHealed() {
    expectAgreement();
    EXPECT_EQ(m_healed.differs(m_pair, m_registers, GetParam().config), "")
        << m_first.text() << ", then " << m_second.text();
  }

  bool beginNext() {
    if (m_isBegun && !m_second.nextAlone()) {
      m_second.restart();
      if (!m_first.next()) {
        return false;
      }
    }
    m_isBegun = true;
    m_tried++;
    if (m_first.isFaultless() && m_second.isFaultless()) {
      m_healed.forget();
    }
    GetParam().disturb(m_pair, m_registers);
    failAs(m_first);
    if (GetParam().operate) {
      GetParam().operate(m_pair);
      beginSecond();
      expectAgreement();
    } else {
      m_phase = Phase::First;
    }
    return true;
  }

  void beginSecond() {
    if (m_first.isFaultless()) {
      m_first.learn(m_transfers);
    }
    if (m_second.isFaultless()) {
      m_pair.reportCached();
    }
    failAs(m_second);
    m_phase = Phase::Second;
  }

  void failAs(const FaultWalk& fault) {
    m_transfers = 0;
    m_pair.bus.failWhen([&](std::size_t, const Transfer&) { return fault.fails(m_transfers++); });
  }

  RegisterFile m_registers;
  ServicePair m_pair{m_registers};
  FaultWalk m_first;
  FaultWalk m_second;
  Healed m_healed;
  Phase m_phase = Phase::Start;
  bool m_isBegun = false;
  std::size_t m_transfers = 0; // of the operation or cycle that is under way
  std::size_t m_tried = 0;
};

TEST_P(EveryEngineFault, AndEverySecondOneLeaveWhatTheModelLeavesAndHeal) {
  pair().run([&] { return step(); });
  EXPECT_GT(tried(), 64U);
  std::printf("faults tried: %zu\n", tried());
}

INSTANTIATE_TEST_SUITE_P(In, EveryEngineFault, ::testing::ValuesIn(scenarios()),
                         [](const auto& instance) { return instance.param.name; });

} // namespace
