// The engine with every transfer of an operation failing, alone and from there on, and with every second
// failure in the cycle that follows: records, log, status, transfers and replies are the model's after each
// step, and the next healthy cycle brings registers and status back.
#include "tests/faults/fault_walk.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/model/powered_card.h"
#include "tests/support/model/service_pair.h"

#include <cstdio>
#include <functional>
#include <gtest/gtest.h>

namespace {

// Port 0 just fits, port 1 does not, port 2 is switched off and has a priority that is never served.
PoeConfig exceedingConfig() {
  PoeConfig config = fittingConfig();
  config.bankPowerLimit[3] = 10;
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
  loseConfiguration(registers);
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
    if (m_isBegun && !m_second.nextSecond()) {
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
  EXPECT_GT(tried(), 64U / FaultWalk::STRIDE);
  std::printf("faults tried: %zu\n", tried());
}

INSTANTIATE_TEST_SUITE_P(In, EveryEngineFault, ::testing::ValuesIn(scenarios()),
                         [](const auto& instance) { return instance.param.name; });

} // namespace
