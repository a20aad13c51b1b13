// What the main process sends on the inbound queue: messages of any id, length and content go through the
// process entry's receive loop, cycles of the worker in between, on the simulated chip with devices and
// failing transfers.
//
// A short message is completed by what the one before has left in the buffer. After each cycle without a
// failed transfer the chip holds the configuration that was sent last, and the status message agrees with
// both.
#include "simulator/chip/chip_words.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/worker_thread.h"
#include "tests/support/doubles/i2c_bus.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/doubles/main_doubles.h"
#include "tests/support/doubles/platform_doubles.h"
#include "tests/support/model/configured_registers.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

int poeServiceMain();
extern std::uint8_t g_running;

namespace {

constexpr std::size_t BUFFER_SIZE = 2000; // of the receive loop
constexpr unsigned MOST_STEPS = 40;
constexpr std::uint32_t UNKNOWN_ID = 0xFFFFFFFF;

using Message = std::vector<char>;

class ChipOnBus : public BusDevice {
public:
  bool read(std::uint8_t reg, std::uint8_t* value) override { return chip.read(reg, value); }
  bool write(std::uint8_t reg, std::uint8_t value) override { return chip.write(reg, value); }

  ChipModel chip;
};

class Life {
public:
  explicit Life(FuzzedDataProvider& data) : m_data(data) {
    takeLog();
    takeWatchdogEvents();
    g_running = 1;
    // The buffer of the receive loop outlives a life; this one begins with a buffer that is known.
    Message known(BUFFER_SIZE);
    std::memcpy(known.data(), &UNKNOWN_ID, sizeof UNKNOWN_ID);
    m_next = known;
    m_doubles.onEvent = [this](const std::string& event) {
      if (event == "mq_getattr") {
        act();
      } else if (event == "mq_timedreceive") {
        receive();
      }
    };
  }

  void live() {
    EXPECT_EQ(poeServiceMain(), 0);
    const LogLines log = takeLog();
    const auto isUnknown = [](const LogLine& line) { return line.text.rfind("[ERROR] main:138 ", 0) == 0; };
    EXPECT_EQ(std::count_if(log.begin(), log.end(), isUnknown), m_unknown);
  }

private:
  // Before a receive: the worker's first cycle, then what the input says, and at the end a configuration that
  // is right.
  void act() {
    m_steps++;
    if (m_steps == 1) {
      m_worker.start();
      return;
    }
    if (m_steps > MOST_STEPS || m_data.remaining_bytes() == 0) {
      end();
      return;
    }
    if (m_data.ConsumeBool()) {
      m_next = takeMessage();
      failTransfers();
    } else {
      change();
      failTransfers();
      cycle();
    }
  }

  void end() {
    m_bus.failNone();
    if (!m_isEnding) {
      m_chip.chip.setPresent(true);
      m_next = messageOf(rightConfiguration());
      m_isEnding = true;
      return;
    }
    cycle();
    m_isOver = true; // the next receive fails, which ends the process
  }

  // The message, or a time-out.
  void receive() {
    if (m_isOver) {
      return;
    }
    Receive receive{m_next.value_or(Message()), m_next ? 0 : ETIMEDOUT};
    m_doubles.receives = {receive};
    if (m_next) {
      note(*m_next);
    }
    m_next.reset();
  }

  // What the receive loop's buffer holds, and what follows from it.
  void note(const Message& message) {
    std::copy(message.begin(), message.end(), m_buffer.begin());
    std::uint32_t id = 0;
    std::memcpy(&id, m_buffer.data(), sizeof id);
    if (!message.empty() && id != MSGID_CONFIG) {
      m_unknown++;
    } else if (!message.empty()) {
      m_config.emplace();
      std::memcpy(&*m_config, m_buffer.data() + sizeof id, sizeof *m_config);
    }
  }

  void cycle() {
    m_chip.chip.advance(1.0);
    m_bus.takeTransfers();
    m_worker.runCycle();
    const Transfers transfers = m_bus.takeTransfers();
    const auto failed = [](const Transfer& transfer) { return !transfer.good; };
    EXPECT_EQ(m_posix.lastMessage().msgId, 17U);
    expectStatus(m_posix.lastMessage().status, std::none_of(transfers.begin(), transfers.end(), failed));
    m_posix.messages.clear();
  }

  void expectStatus(const PoeStatus& status, bool isHealthy) {
    const PoeConfig config = m_config.value_or(PoeConfig{});
    if (isHealthy && m_config) {
      EXPECT_EQ(differsFromConfiguration(config, [&](unsigned address) { return reg(address); }), "");
    }
    if (isHealthy) {
      EXPECT_EQ(status.mainOperStatus, 1U);
      EXPECT_EQ(status.mainPower, reg(0x89 + (reg(0x91) >> 3 & 7)));
      EXPECT_EQ(status.mainConsumption, reg(0x96));
      EXPECT_EQ(status.devError, 0);
    }
    for (unsigned port = 0; port < POE_PORTS; port++) {
      const std::uint32_t state = status.port[port].operStatus;
      EXPECT_TRUE(state >= 1 && state <= 6 && state != 5) << "port " << port << " is in state " << state;
      EXPECT_EQ(state == 1, config.port[port].adminEnable == 0)
          << "port " << port << " is in state " << state;
      EXPECT_TRUE(!isHealthy || state != 3 || (reg(0x10) >> port & 1) != 0) << "port " << port;
    }
  }

  unsigned reg(unsigned address) const { return m_chip.chip.reg(static_cast<std::uint8_t>(address)); }

  void change() {
    ChipModel& chip = m_chip.chip;
    const unsigned port = m_data.ConsumeIntegralInRange(0U, POE_PORTS - 1);
    switch (m_data.ConsumeIntegralInRange(0, 7)) {
    case 0:
      return chip.plug(port, {SIGNATURE_WORDS.at(m_data.ConsumeIntegralInRange(0U, 5U)).second,
                              m_data.ConsumeIntegralInRange(0U, 4U),
                              m_data.ConsumeFloatingPointInRange(0.0, 40.0)});
    case 1:
      return chip.unplug(port);
    case 2:
      return chip.powerCycle();
    case 3:
      return chip.activeBank(m_data.ConsumeIntegralInRange(0U, 15U));
    case 4:
      return chip.thermalShutdown(m_data.ConsumeBool());
    case 5:
      return chip.setPresent(m_data.ConsumeBool());
    default:
      return;
    }
  }

  // From now on: mostly none.
  void failTransfers() {
    const auto first = m_data.ConsumeIntegral<std::uint8_t>();
    if (first < 160) {
      m_bus.failNone();
      return;
    }
    const std::size_t from = first - 160U;
    const bool onlyOne = m_data.ConsumeBool();
    m_bus.takeTransfers();
    m_bus.failWhen(
        [=](std::size_t number, const Transfer&) { return onlyOne ? number == from : number >= from; });
  }

  Message takeMessage() {
    if (m_data.ConsumeIntegralInRange(0, 3) == 0) { // any bytes
      const std::string bytes = m_data.ConsumeRandomLengthString(BUFFER_SIZE);
      return Message(bytes.begin(), bytes.end());
    }
    Message message = messageOf(takeConfiguration());
    if (m_data.ConsumeBool()) { // of any length
      message.resize(m_data.ConsumeIntegralInRange<std::size_t>(0, BUFFER_SIZE), '\x5A');
    }
    return message;
  }

  static Message messageOf(const PoeConfig& config) {
    const PoeConfigMessage record{MSGID_CONFIG, config};
    Message message(sizeof record);
    std::memcpy(message.data(), &record, sizeof record);
    return message;
  }

  // A right one, some of its fields changed.
  PoeConfig takeConfiguration() {
    PoeConfig config = rightConfiguration();
    for (unsigned changes = m_data.ConsumeIntegralInRange(0U, 8U); changes > 0; changes--) {
      PoePortConfig& port = config.port[m_data.ConsumeIntegralInRange(0U, POE_PORTS - 1)];
      switch (m_data.ConsumeIntegralInRange(0, 3)) {
      case 0:
        config.bankPowerLimit[m_data.ConsumeIntegralInRange(0U, POE_BANKS - 1)] = takeNumber(200);
        break;
      case 1:
        port.adminEnable = m_data.ConsumeIntegral<std::uint8_t>();
        break;
      case 2:
        port.priority = takeNumber(4);
        break;
      default:
        port.powerLimit = takeNumber(41) * (m_data.ConsumeBool() ? 1000 : 1);
        break;
      }
    }
    return config;
  }

  std::uint32_t takeNumber(std::uint32_t usual) {
    return m_data.ConsumeIntegralInRange(0, 15) == 15 ? m_data.ConsumeIntegral<std::uint32_t>()
                                                      : m_data.ConsumeIntegralInRange(0U, usual);
  }

  static PoeConfig rightConfiguration() {
    PoeConfig config{};
    config.bankPowerLimit[0] = 50;
    for (unsigned port = 0; port < POE_PORTS; port++) {
      config.port[port].adminEnable = port == 1 ? 0 : 1;
      config.port[port].priority = 1 + port % 3;
      config.port[port].powerLimit = 15000;
    }
    return config;
  }

  FuzzedDataProvider& m_data;
  ChipOnBus m_chip;
  I2cBus m_bus{m_chip};
  PosixDoubles m_posix;
  MainDoubles m_doubles;
  WorkerThread m_worker{m_posix};
  std::array<char, BUFFER_SIZE> m_buffer{}; // as the receive loop's
  std::optional<PoeConfig> m_config;        // the last that was sent
  std::optional<Message> m_next;
  long m_unknown = 0;
  unsigned m_steps = 0;
  bool m_isEnding = false;
  bool m_isOver = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Life(data).live();
  return 0;
}
