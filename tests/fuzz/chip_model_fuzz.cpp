// The simulated chip under any sequence of transfers, devices, faults and time.
//
// Its registers agree with each other and with what is plugged after every step, and a second chip for which
// the same time passes in smaller pieces is always the same.
#include "simulator/bus/bus_faults.h"
#include "simulator/chip/chip_words.h"
#include "tests/fuzz/fuzz_target.h"

#include <array>
#include <cmath>

namespace {

using Phase = ChipModel::Phase;
using Signature = ChipModel::Signature;

constexpr unsigned MAX_STEPS = 500;

class ChipWalk {
public:
  explicit ChipWalk(FuzzedDataProvider& data) : m_data(data) {}

  void walk() {
    if (m_data.ConsumeBool()) {
      deliverOnEveryPort();
    }
    for (unsigned step = 0; step < MAX_STEPS && m_data.remaining_bytes() > 0; step++) {
      m_watch.rememberCounters(m_chip);
      doSomething();
      expectSecondIsTheSame();
      m_watch.expectCounters(m_chip);
      if (!m_isForced) {
        expectAgreement();
      }
    }
  }

private:
  // The event counters advance by one at most in a step, for a port is tried again after a second.
  class CounterWatch {
  public:
    void rememberCounters(const ChipModel& chip) {
      m_isReset = false;
      for (unsigned i = 0; i < m_before.size(); i++) {
        m_before.at(i) = chip.reg(static_cast<std::uint8_t>(0x77 + i));
      }
    }

    void reset() { m_isReset = true; } // they were written in this step

    void expectCounters(const ChipModel& chip) const {
      for (unsigned i = 0; !m_isReset && i < m_before.size(); i++) {
        const unsigned now = chip.reg(static_cast<std::uint8_t>(0x77 + i));
        for (unsigned port = 0; port < ChipModel::PORTS; port++) {
          EXPECT_LE(((now >> 2 * port) - (m_before.at(i) >> 2 * port)) & 3, 1U)
              << "counter " << i << " of " << port;
        }
      }
    }

  private:
    std::array<unsigned, 6> m_before{};
    bool m_isReset = false;
  };

  unsigned below(unsigned bound) { return m_data.ConsumeIntegralInRange(0U, bound - 1); }
  std::uint8_t byte() { return m_data.ConsumeIntegral<std::uint8_t>(); }
  double upTo(double most) { return m_data.ConsumeFloatingPointInRange(0.0, most); }

  template <typename Change>
  void both(Change change) {
    change(m_chip);
    change(m_second);
  }

  void doSomething() {
    const unsigned port = below(ChipModel::PORTS);
    switch (below(16)) {
    case 0:
      return plug(port);
    case 1:
      return both([port](ChipModel& chip) { chip.unplug(port); });
    case 2:
      return both([port, watts = upTo(100.0)](ChipModel& chip) { chip.draw(port, watts); });
    case 3:
    case 4:
      return transfer(byte(), byte());
    case 5:
      return switchOn();
    case 6:
      return both([port, fault = static_cast<ChipModel::Fault>(below(3))](ChipModel& chip) {
        chip.fault(port, fault);
      });
    case 7:
      return both([port](ChipModel& chip) { chip.classError(port); });
    default:
      return changeChip();
    }
  }

  void changeChip() {
    switch (below(10)) {
    case 0:
      return both([volts = upTo(100.0)](ChipModel& chip) { chip.supply(volts); });
    case 1:
      return both([bank = below(16)](ChipModel& chip) { chip.activeBank(bank); });
    case 2:
      return both([degrees = upTo(244.0) - 27.0](ChipModel& chip) { chip.temperature(degrees); });
    case 3:
      return both([isShut = m_data.ConsumeBool()](ChipModel& chip) { chip.thermalShutdown(isShut); });
    case 4:
      return cyclePower();
    case 5:
      return both([isPresent = m_data.ConsumeBool()](ChipModel& chip) { chip.setPresent(isPresent); });
    case 6:
      return force();
    case 7:
      return disturbBus();
    default:
      return passTime();
    }
  }

  void cyclePower() {
    m_watch.reset();
    m_isForced = false;
    both([](ChipModel& chip) { chip.powerCycle(); });
  }

  void plug(unsigned port) {
    ChipModel::Device device;
    device.signature = m_data.ConsumeBool() ? Signature::Good : SIGNATURE_WORDS.at(below(6)).second;
    device.pdClass = below(5);
    device.watts = upTo(40.0);
    both([&](ChipModel& chip) { chip.plug(port, device); });
  }

  // All ports automatic, detecting and classifying, with enough of everything.
  void switchOn() {
    both([](ChipModel& chip) {
      chip.setPresent(true);
      chip.supply(54.0);
      for (const auto& [address, value] :
           {std::pair<std::uint8_t, std::uint8_t>{0x12, 0xFF}, {0x14, 0xFF}, {0xCB, 0xED}, {0xCC, 0}}) {
        chip.write(address, value);
      }
    });
  }

  // The state in which most can go wrong.
  void deliverOnEveryPort() {
    switchOn();
    for (unsigned port = 0; port < ChipModel::PORTS; port++) {
      both([&](ChipModel& chip) { chip.plug(port, {Signature::Good, 3, 10.0}); });
    }
    both([](ChipModel& chip) { chip.advance(1.0); });
    expectAgreement();
  }

  void transfer(std::uint8_t address, std::uint8_t value) {
    const bool exists = address <= 0xCE && m_chip.present() && !m_bus.fails(address);
    if (!exists && m_chip.present() && address <= 0xCE) {
      return; // the bus has failed: the chip has not seen it
    }
    both([&](ChipModel& chip) { EXPECT_EQ(chip.write(address, value), exists); });
    std::uint8_t shown = 0;
    EXPECT_EQ(m_chip.read(address, &shown), exists);
    EXPECT_EQ(shown, exists ? m_chip.reg(address) : 0);
  }

  void disturbBus() {
    const unsigned count = 1 + below(1000);
    switch (below(4)) {
    case 0:
      m_bus.none();
      break;
    case 1:
      m_bus.next(count);
      break;
    case 2:
      m_bus.every(count);
      break;
    default:
      m_bus.onRegister(byte());
      break;
    }
    EXPECT_FALSE(m_bus.text().empty());
  }

  // Past all rules: from here until the power is cycled the registers need not agree.
  void force() {
    m_isForced = true;
    m_watch.reset();
    RegisterImage image;
    for (unsigned count = below(16); count > 0; count--) {
      const unsigned address = below(data_sheet::LAST_REGISTER + 1U);
      image.at(address) = byte();
    }
    const auto address = static_cast<std::uint8_t>(below(data_sheet::LAST_REGISTER + 1U));
    const std::uint8_t value = byte();
    const bool loads = m_data.ConsumeBool();
    both([&](ChipModel& chip) { loads ? chip.load(image) : chip.setReg(address, value); });
  }

  // Half a second at most, of the second chip in pieces.
  void passTime() {
    const unsigned milliseconds = below(501);
    m_chip.advance(milliseconds / 1000.0);
    unsigned left = milliseconds;
    for (unsigned pieces = below(8); pieces > 0 && left > 0; pieces--) {
      const unsigned piece = below(left + 1);
      m_second.advance(piece / 1000.0);
      left -= piece;
    }
    m_second.advance(left / 1000.0);
  }

  void expectSecondIsTheSame() const {
    unsigned address = 0;
    while (address <= data_sheet::LAST_REGISTER &&
           reg(address) == m_second.reg(static_cast<std::uint8_t>(address))) {
      address++;
    }
    EXPECT_GT(address, data_sheet::LAST_REGISTER) << "the second chip's register differs";
    for (unsigned port = 0; port < ChipModel::PORTS; port++) {
      EXPECT_EQ(m_chip.phase(port), m_second.phase(port)) << "port " << port;
    }
  }

  unsigned reg(unsigned address) const { return m_chip.reg(static_cast<std::uint8_t>(address)); }
  unsigned word(unsigned address) const { return reg(address) + 256 * reg(address + 1); }

  void expectAgreement() const {
    double total = 0.0;
    double drawn = 0.0;
    for (unsigned port = 0; port < ChipModel::PORTS; port++) {
      const double volts = word(0x32 + 4 * port) * 0.005835;
      const double watts = volts * word(0x30 + 4 * port) * 0.00012207;
      EXPECT_NEAR(reg(0x92 + port), watts, 0.5 + 1e-9) << "port " << port;
      total += watts;
      const bool delivers = m_chip.phase(port) == Phase::Delivering;
      drawn += delivers ? m_chip.device(port).watts : 0.0;
      EXPECT_EQ(reg(0x10) >> port & 0x11, delivers ? 0x11U : 0U) << "port " << port;
      EXPECT_EQ(volts > 0.0, delivers) << "port " << port;
      if (delivers) {
        EXPECT_NEAR(watts, m_chip.device(port).watts, 0.01) << "port " << port;
        expectDelivery(port);
      }
    }
    EXPECT_NEAR(reg(0x96), total, 0.5 + 1e-9);
    EXPECT_LE(drawn, m_chip.bankLimit());
  }

  // No power without a good device, or on a port that is off, broken or not supplied.
  void expectDelivery(unsigned port) const {
    EXPECT_EQ(m_chip.device(port).signature, Signature::Good) << "port " << port;
    EXPECT_LE(m_chip.device(port).watts, reg(0x81 + port) & 0x3F) << "port " << port;
    EXPECT_EQ(reg(0x12) >> 2 * port & 3, 3U) << "port " << port;
    EXPECT_EQ(reg(0x14) >> port & 0x11, 0x11U) << "port " << port;
    EXPECT_EQ(m_chip.fault(port), ChipModel::Fault::None) << "port " << port;
    EXPECT_FALSE(m_chip.thermalShutdown());
    EXPECT_GE(m_chip.supply(), 30.0);
    EXPECT_GE(m_chip.supply(), m_chip.minimumSupply());
  }

  FuzzedDataProvider& m_data;
  ChipModel m_chip;
  ChipModel m_second;
  BusFaults m_bus;
  CounterWatch m_watch;
  bool m_isForced = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  ChipWalk(data).walk();
  return 0;
}
