// Every operation of the driver with every transfer failing, alone and from there on, and with every second
// failure in the repetition that follows: result, record, log, state, transfers and registers are the
// model's.
#include "components/PoeDriver/pd69104.h"
#include "tests/faults/fault_walk.h"
#include "tests/support/model/driver_model.h"

#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>

namespace {

// The result of an operation and what it has put into its record, as text. The records are filled beforehand:
// the numbers with 77, the flags with `flags`, so that a field that is kept can be told from one that is
// read.
struct Operation {
  std::string name;
  std::function<std::string(CPD69104& driver, bool flags)> ofDriver;
  std::function<std::string(DriverModel& model, bool flags)> ofModel;
};

template <typename... Values>
std::string text(Values... values) {
  std::ostringstream out;
  ((out << values << " "), ...);
  return out.str();
}

#define SETTER(NAME, DRIVER_CALL, MODEL_CALL)                                                                \
  Operation {                                                                                                \
    NAME, [=](CPD69104& driver, bool) { return text(driver.DRIVER_CALL); },                                  \
        [=](DriverModel& model, bool) { return text(model.MODEL_CALL); }                                     \
  }

// Port numbers that the setters take, and some that they reject.
constexpr std::pair<const char*, unsigned> SET_PORTS[] = {
    {"0", 0},          {"1", 1},          {"2", 2},         {"3", 3}, {"All", 127}, {"BeyondTheLast", 4},
    {"BelowAll", 126}, {"AboveAll", 128}, {"MinusOne", ~0U}};

std::vector<Operation> portSetters() {
  std::vector<Operation> all;
  for (const auto& [name, number] : SET_PORTS) {
    const std::string port = name;
    const unsigned c = number;
    const std::initializer_list<Operation> setters = {
        SETTER("ModeOf" + port, PoeSetPortMode(c, 2), setMode(c, 2)),
        SETTER("ModeCutToItsFieldOf" + port, PoeSetPortMode(c, ~2U), setMode(c, ~2U)),
        SETTER("DetectionOnOf" + port, PoeSetDetectionClassification(c, 3), setDetectionClassification(c, 3)),
        SETTER("DetectionOffOf" + port, PoeSetDetectionClassification(c, 2),
               setDetectionClassification(c, 2)),
        SETTER("DisconnectOnOf" + port, PoeSetPortDisconnect(c, 0xFF), setDisconnect(c, 0xFF)),
        SETTER("DisconnectOffOf" + port, PoeSetPortDisconnect(c, 0xFE), setDisconnect(c, 0xFE)),
        SETTER("MidspanOnOf" + port, PoeSetPortMidspan(c, 1), setMidspan(c, 1)),
        SETTER("MidspanOffOf" + port, PoeSetPortMidspan(c, 0), setMidspan(c, 0)),
        SETTER("TlimOf" + port, PoeSetPortTlim(c, 9), setTlim(c, 9)),
        SETTER("PriorityOf" + port, PoeSetPortPriority(c, 3), setPriority(c, 3)),
        SETTER("PowerLimitOf" + port, PoeSetPortPowerLimit(c, 40000, 999), setPowerLimit(c, 40000, 999)),
        SETTER("HighPowerOf" + port, PoeSetPortHighPower(c, 1, 1, 0, 375, 1),
               setHighPower(c, 1, 1, 0, 375, 1)),
        SETTER("LowPowerOf" + port, PoeSetPortHighPower(c, 2, 0xFE, 3, 2382, 0),
               setHighPower(c, 2, 0xFE, 3, 2382, 0)),
        SETTER("PowerInAnIllegalModeOf" + port, PoeSetPortHighPower(c, 0, 0, 0, 1182, 2),
               setHighPower(c, 0, 0, 0, 1182, 2))};
    all.insert(all.end(), setters);
  }
  return all;
}

std::vector<Operation> otherSetters() {
  std::vector<Operation> all = {
      SETTER("Write", PoeWriteReg(0xCE, 0x1FF), write(0xCE, 0x1FF)),
      SETTER("WriteOutOfRange", PoeWriteReg(0xCF, 1), write(0xCF, 1)),
      SETTER("WriteFarOutOfRange", PoeWriteReg(~0U, 1), write(~0U, 1)),
      SETTER("DefaultConfiguration", PoeSetDefaultConfiguration(), setDefaultConfiguration()),
      SETTER("PriorityZero", PoeSetPortPriority(2, 0), setPriority(2, 0)),
      SETTER("PriorityOne", PoeSetPortPriority(2, 1), setPriority(2, 1)),
      SETTER("PriorityFour", PoeSetPortPriority(2, 4), setPriority(2, 4)),
      SETTER("PriorityMinusOne", PoeSetPortPriority(2, -1), setPriority(2, ~0U)),
      SETTER("PowerLimitTooHigh", PoeSetPortPowerLimit(0, 40001, 0), setPowerLimit(0, 40001, 0)),
      SETTER("TemporaryPowerLimit", PoeSetPortPowerLimit(0, 999, 40000), setPowerLimit(0, 999, 40000)),
      SETTER("TemporaryPowerLimitTooHigh", PoeSetPortPowerLimit(0, 0, 40001), setPowerLimit(0, 0, 40001)),
      SETTER("BankLimitTooHigh", PoeSetBankPowerLimit(0, 256), setBankLimit(0, 256)),
      SETTER("LimitOfBankEight", PoeSetBankPowerLimit(8, 0), setBankLimit(8, 0)),
      SETTER("LimitOfBankMinusOne", PoeSetBankPowerLimit(~0U, ~1U), setBankLimit(~0U, ~1U)),
      SETTER("StaticCalculation", PoeSetPmCalculationStatic(true), setStaticCalculation(true)),
      SETTER("DynamicCalculation", PoeSetPmCalculationStatic(false), setStaticCalculation(false)),
      SETTER("ResetPorts", PoeResetPorts(0xFFFFFF15), resetPorts(0xFFFFFF15))};
  for (unsigned bank = 0; bank < 8; bank++) {
    all.push_back(SETTER("LimitOfBank" + std::to_string(bank), PoeSetBankPowerLimit(bank, 255 - bank),
                         setBankLimit(bank, 255 - bank)));
  }
  return all;
}

template <bool (CPD69104::*READ)(unsigned, unsigned*), bool (DriverModel::*MODEL_READ)(unsigned, unsigned*)>
Operation number(const std::string& name, unsigned argument) {
  return {name,
          [argument](CPD69104& driver, bool) {
            unsigned value = 77;
            const bool good = (driver.*READ)(argument, &value);
            return text(good, value);
          },
          [argument](DriverModel& model, bool) {
            unsigned value = 77;
            const bool good = (model.*MODEL_READ)(argument, &value);
            return text(good, value);
          }};
}

std::vector<Operation> numberReaders() {
  return {number<&CPD69104::PoeReadReg, &DriverModel::read>("Read", 0xCE),
          number<&CPD69104::PoeReadReg16, &DriverModel::read16>("Read16", 0x71),
          number<&CPD69104::PoeReadReg16, &DriverModel::read16>("Read16AtTheLastRegister", 0xCE),
          number<&CPD69104::PoeGetBankPowerLimit, &DriverModel::getBankLimit>("LimitOfBank", 6),
          {"ActiveBank",
           [](CPD69104& driver, bool) {
             unsigned bank = 77;
             const bool good = driver.PoeGetPowerBank(&bank);
             return text(good, bank);
           },
           [](DriverModel& model, bool) {
             unsigned bank = 77;
             const bool good = model.getBank(&bank);
             return text(good, bank);
           }},
          {"IsStatic",
           [](CPD69104& driver, bool flags) {
             bool isStatic = flags;
             const bool good = driver.PoeGetPmCalculationStatic(&isStatic);
             return text(good, isStatic);
           },
           [](DriverModel& model, bool flags) {
             bool isStatic = flags;
             const bool good = model.getStaticCalculation(&isStatic);
             return text(good, isStatic);
           }}};
}

Operation channelOf(unsigned port) {
  return {"Channel" + std::to_string(port),
          [port](CPD69104& driver, bool flags) {
            ChannelStatus c{flags, flags, 77, 77, flags, flags, flags, flags, flags};
            const bool good = driver.PoeGetChannelStatus(port, &c);
            return text(good, c.enable, c.power_good, c.det_status, c.pclass, c.fet_error,
                        c.mosfet_overtemperature, c.in_pm_mode, c.passed_MSCC_cap_det, c.det_fail);
          },
          [port](DriverModel& model, bool flags) {
            ModelChannel c{flags, flags, 77, 77, flags, flags, flags, flags, flags};
            const bool good = model.getChannel(port, &c);
            return text(good, c.enable, c.powerGood, c.detection, c.classification, c.fetError,
                        c.overTemperature, c.inPowerManagement, c.passedCapacitorDetection,
                        c.detectionFailed);
          }};
}

Operation counts() {
  return {"Counts",
          [](CPD69104& driver, bool) {
            ChannelCounts c{};
            for (PortCounts& port : c.port) {
              port = {77, 77, 77, 77, 77, 77};
            }
            std::string all = text(driver.PoeGetChannelCounts(&c));
            for (const PortCounts& port : c.port) {
              all += text(port.invalidSignatureCount, port.powerDeniedCount, port.overLoadCount,
                          port.underLoadCount, port.shortCount, port.classErrorCount);
            }
            return all;
          },
          [](DriverModel& model, bool) {
            ModelCounts c{};
            for (auto& port : c) {
              port.fill(77);
            }
            std::string all = text(model.getCounts(&c));
            for (const auto& port : c) {
              all += text(port[0], port[1], port[2], port[3], port[4], port[5]);
            }
            return all;
          }};
}

Operation measurementsOf(unsigned port) {
  return {"Measurements" + std::to_string(port),
          [port](CPD69104& driver, bool) {
            PortMeasurements m{77, 77, 77, 77};
            const bool good = driver.PoeGetMeasurements(port, &m);
            return text(good, m.main_voltage, m.port_voltage, m.port_current, m.power_consumption);
          },
          [port](DriverModel& model, bool) {
            ModelMeasurements m{77, 77, 77, 77};
            const bool good = model.getMeasurements(port, &m);
            return text(good, m.mainVoltage, m.portVoltage, m.current, m.power);
          }};
}

Operation powerLimitsOf(unsigned port) {
  return {"PowerLimits" + std::to_string(port),
          [port](CPD69104& driver, bool) {
            PortPowerLimits limits{77, 77};
            const bool good = driver.PoeGetPortPowerLimit(port, &limits);
            return text(good, limits.pw, limits.tpw);
          },
          [port](DriverModel& model, bool) {
            unsigned pw = 77;
            unsigned tpw = 77;
            const bool good = model.getPowerLimits(port, &pw, &tpw);
            return text(good, pw, tpw);
          }};
}

Operation deviceStatus() {
  return {"DeviceStatus",
          [](CPD69104& driver, bool flags) {
            DeviceStatus d{77, flags, 77, 77, 77, 77, flags};
            const bool good = driver.PoeGetDeviceStatus(&d);
            return text(good, d.hwOperationMode, d.dev_error, d.device_errorcount, d.device_id,
                        d.device_revision, d.temperature, d.thermal_shutdown);
          },
          [](DriverModel& model, bool flags) {
            ModelDevice d{77, flags, 77, 77, 77, 77, flags};
            const bool good = model.getDevice(&d);
            return text(good, d.mode, d.error, d.errorCount, d.id, d.revision, d.temperature,
                        d.thermalShutdown);
          }};
}

Operation powerStatus() {
  return {"PowerStatus",
          [](CPD69104& driver, bool) {
            PowerStatus p{77, 77, 77, 77, 77};
            const bool good = driver.PoeGetPowerStatus(&p);
            return text(good, p.power_consumption, p.power_bank, p.power_limit, p.main_voltage,
                        p.min_shutdown_voltage);
          },
          [](DriverModel& model, bool) {
            ModelPower p{77, 77, 77, 77, 77};
            const bool good = model.getPower(&p);
            return text(good, p.consumption, p.bank, p.limit, p.mainVoltage, p.shutdownVoltage);
          }};
}

std::vector<Operation> operations() {
  std::vector<Operation> all = portSetters();
  for (const std::vector<Operation>& more : {otherSetters(), numberReaders()}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  for (unsigned port = 0; port < 4; port++) {
    all.insert(all.end(),
               {number<&CPD69104::PoeGetPortPriority, &DriverModel::getPriority>(
                    "Priority" + std::to_string(port), port),
                number<&CPD69104::PoeGetPortMode, &DriverModel::getMode>("Mode" + std::to_string(port), port),
                channelOf(port), measurementsOf(port), powerLimitsOf(port)});
  }
  all.insert(all.end(), {counts(), deviceStatus(), powerStatus()});
  return all;
}

class EveryDriverFault : public StrictLogTest, public ::testing::WithParamInterface<Operation> {
protected:
  EveryDriverFault() {
    for (unsigned reg = 0; reg < 256; reg++) {
      m_before[reg] = static_cast<std::uint8_t>(reg * 37 + 11); // all registers differ
    }
    m_model.open({}, {});
  }

  // A driver in mode NORMAL, or one whose last transfer has failed; both count one error more each time.
  void prepare(bool isFailing) {
    m_bus.failAll();
    compare([](CPD69104& driver, bool) { return text(driver.PoeWriteReg(0, 0)); },
            [](DriverModel& model, bool) { return text(model.write(0, 0)); });
    m_bus.failNone();
    if (!isFailing) {
      compare([](CPD69104& driver, bool) { return text(driver.PoeSetDefaultConfiguration()); },
              [](DriverModel& model, bool) { return text(model.setDefaultConfiguration()); });
    }
    for (unsigned reg = 0; reg < 256; reg++) {
      m_registers[reg] = m_before[reg];
    }
    m_flags = isFailing;
  }

  void operate(const FaultWalk& fault) {
    m_bus.failWhen([&](std::size_t transfer, const Transfer&) { return fault.fails(transfer); });
    compare(GetParam().ofDriver, GetParam().ofModel);
    m_bus.failNone();
  }

  std::string image() {
    std::string bytes;
    for (unsigned reg = 0; reg < 256; reg++) {
      bytes += static_cast<char>(m_registers[reg]);
    }
    return bytes;
  }

  // Every second fault after one first fault. Returns how many faults have been tried.
  std::size_t tryEverySecondFault(const FaultWalk& first, bool isFailing) {
    std::size_t tried = 0;
    FaultWalk second;
    do {
      prepare(isFailing);
      operate(first);
      operate(second);
      if (second.isFaultless()) {
        second.learn(m_transfers);
      }
      const FaultWalk none;
      operate(none);
      if (m_healed.empty()) {
        m_healed = image();
      }
      EXPECT_TRUE(image() == m_healed) << "the repetition leaves other registers";
      tried++;
      if (HasFailure()) {
        ADD_FAILURE() << first.text() << ", then " << second.text();
        return tried;
      }
    } while (second.next());
    return tried;
  }

  std::size_t transfers() const { return m_transfers; }

private:
  void compare(const decltype(Operation::ofDriver)& ofDriver, const decltype(Operation::ofModel)& ofModel) {
    const std::string result = ofDriver(m_driver, m_flags);
    Transfers made = m_bus.takeTransfers();
    m_transfers = made.size();
    m_model.bus.play(std::move(made));
    EXPECT_EQ(result, ofModel(m_model, m_flags));
    EXPECT_EQ(m_model.bus.takeDifference(), "");
    EXPECT_EQ(takeLog(), m_model.log);
    m_model.log.clear();
    char info[4095];
    EXPECT_TRUE(m_driver.PoeDriverInfo(info, sizeof info));
    EXPECT_EQ(info, m_model.info());
  }

  RegisterFile m_registers;
  RegisterFile m_before;
  I2cBus m_bus{m_registers};
  CPD69104 m_driver{0, 0x20};
  DriverModel m_model;
  bool m_flags = false;
  std::size_t m_transfers = 0;
  std::string m_healed;
};

TEST_P(EveryDriverFault, AndEverySecondOneLeaveWhatTheModelLeaves) {
  std::size_t tried = 0;
  for (const bool isFailing : {false, true}) {
    FaultWalk first;
    prepare(isFailing);
    operate(first);
    first.learn(transfers());
    do {
      tried += tryEverySecondFault(first, isFailing);
    } while (!HasFailure() && first.next());
  }
  std::printf("faults tried: %zu\n", tried);
}

INSTANTIATE_TEST_SUITE_P(OfOperation, EveryDriverFault, ::testing::ValuesIn(operations()),
                         [](const auto& instance) { return instance.param.name; });

} // namespace
