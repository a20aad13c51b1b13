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

// Reads a record of the driver and the model's, which have the same fields in the same order: `fill` fills
// either one beforehand, `fields` writes either one as text.
template <typename Record, typename ModelRecord, typename Read, typename ModelRead, typename Fill,
          typename Fields>
Operation reader(const std::string& name, Read read, ModelRead modelRead, Fill fill, Fields fields) {
  const auto operation = [=](auto record, auto readWith) {
    return [=](auto& device, bool flags) {
      auto filled = record;
      fill(&filled, flags);
      const bool good = readWith(device, &filled);
      return text(good) + fields(filled);
    };
  };
  return {name, operation(Record{}, read), operation(ModelRecord{}, modelRead)};
}

#define READS(CALL) [=](auto& device, auto* record) { return device.CALL; }

template <typename Read, typename ModelRead>
Operation number(const std::string& name, Read read, ModelRead modelRead) {
  return reader<unsigned, unsigned>(
      name, read, modelRead, [](auto* value, bool) { *value = 77; }, [](auto value) { return text(value); });
}

std::vector<Operation> numberReaders() {
  return {number("Read", READS(PoeReadReg(0xCE, record)), READS(read(0xCE, record))),
          number("Read16", READS(PoeReadReg16(0x71, record)), READS(read16(0x71, record))),
          number("Read16AtTheLastRegister", READS(PoeReadReg16(0xCE, record)), READS(read16(0xCE, record))),
          number("LimitOfBank", READS(PoeGetBankPowerLimit(6, record)), READS(getBankLimit(6, record))),
          number("ActiveBank", READS(PoeGetPowerBank(record)), READS(getBank(record))),
          reader<bool, bool>(
              "IsStatic", READS(PoeGetPmCalculationStatic(record)), READS(getStaticCalculation(record)),
              [](auto* isStatic, bool flags) { *isStatic = flags; },
              [](auto isStatic) { return text(isStatic); })};
}

Operation channelOf(unsigned port) {
  return reader<ChannelStatus, ModelChannel>(
      "Channel" + std::to_string(port), READS(PoeGetChannelStatus(port, record)),
      READS(getChannel(port, record)),
      [](auto* channel, bool flags) { *channel = {flags, flags, 77, 77, flags, flags, flags, flags, flags}; },
      [](const auto& channel) {
        const auto& [enable, good, detection, pdClass, fet, hot, managed, capacitor, failed] = channel;
        return text(enable, good, detection, pdClass, fet, hot, managed, capacitor, failed);
      });
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
  return reader<PortMeasurements, ModelMeasurements>(
      "Measurements" + std::to_string(port), READS(PoeGetMeasurements(port, record)),
      READS(getMeasurements(port, record)),
      [](auto* figures, bool) {
        *figures = {77, 77, 77, 77};
      },
      [](const auto& figures) {
        const auto& [mainVoltage, portVoltage, current, power] = figures;
        return text(mainVoltage, portVoltage, current, power);
      });
}

Operation powerLimitsOf(unsigned port) {
  return reader<PortPowerLimits, PortPowerLimits>(
      "PowerLimits" + std::to_string(port), READS(PoeGetPortPowerLimit(port, record)),
      READS(getPowerLimits(port, &record->pw, &record->tpw)),
      [](auto* limits, bool) {
        *limits = {77, 77};
      },
      [](const auto& limits) { return text(limits.pw, limits.tpw); });
}

Operation deviceStatus() {
  return reader<DeviceStatus, ModelDevice>(
      "DeviceStatus", READS(PoeGetDeviceStatus(record)), READS(getDevice(record)),
      [](auto* device, bool flags) { *device = {77, flags, 77, 77, 77, 77, flags}; },
      [](const auto& device) {
        const auto& [mode, error, errorCount, id, revision, temperature, isShutDown] = device;
        return text(mode, error, errorCount, id, revision, temperature, isShutDown);
      });
}

Operation powerStatus() {
  return reader<PowerStatus, ModelPower>(
      "PowerStatus", READS(PoeGetPowerStatus(record)), READS(getPower(record)),
      [](auto* power, bool) {
        *power = {77, 77, 77, 77, 77};
      },
      [](const auto& power) {
        const auto& [consumption, bank, limit, mainVoltage, shutdownVoltage] = power;
        return text(consumption, bank, limit, mainVoltage, shutdownVoltage);
      });
}

std::vector<Operation> operations() {
  std::vector<Operation> all = portSetters();
  for (const std::vector<Operation>& more : {otherSetters(), numberReaders()}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  for (unsigned port = 0; port < 4; port++) {
    const std::string name = std::to_string(port);
    all.insert(
        all.end(),
        {number("Priority" + name, READS(PoeGetPortPriority(port, record)), READS(getPriority(port, record))),
         number("Mode" + name, READS(PoeGetPortMode(port, record)), READS(getMode(port, record))),
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
