// The commands of every object that the service registers with the console: any words, any size of the
// reply's buffer, a healthy, a failing and a missing chip.
//
// Nothing is written beyond the buffer, the rest of it is NUL, a reply that does not fit is the start of the
// whole one, and the register commands reach the register that they name.
#include "components/PoeDriver/pd69104_engine.h"
#include "platform/host/console/debug_registry.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/doubles/allocation.h"
#include "tests/support/doubles/i2c_bus.h"
#include "tests/support/doubles/log_capture.h"
#include "tests/support/doubles/platform_doubles.h"
#include "tests/support/doubles/posix_doubles.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>

namespace {

using Words = std::vector<std::string>;

constexpr std::uint32_t WHOLE = 8192; // the buffer of the service
constexpr std::size_t GUARD = 64;     // bytes beyond the buffer
constexpr unsigned MOST_COMMANDS = 32;
const char* const KNOWN[] = {"help", "info", "device", "channel", "poeport", "writeReg", "readReg"};
const char* const NUMBERS[] = {
    "0", "3", "4", "-1", "0x90", "0xCE", "0xCF", "4294967296", "99999999999999999999"};

// What an argument stands for: as in C, with the prefixes 0x and 0; the register has its lower bits.
std::uint32_t numberOf(const std::string& text) {
  return static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 0));
}

std::string hexadecimal(std::uint32_t number) {
  std::ostringstream text;
  text << std::hex << number;
  return text.str();
}

class Commands {
public:
  explicit Commands(FuzzedDataProvider& data) : m_data(data) {
    takeLog();
    takeWatchdogEvents();
    for (unsigned count = data.ConsumeIntegralInRange(0U, 8U); count > 0; count--) {
      m_registers[data.ConsumeIntegralInRange(0U, 255U)] = data.ConsumeIntegral<std::uint8_t>();
    }
    construct(data.ConsumeBool());
    if (data.ConsumeBool()) {
      runOneCycle();
    }
  }

  ~Commands() {
    m_engine.reset();
    takeLog();
    takeWatchdogEvents();
  }

  Commands(const Commands&) = delete;
  Commands& operator=(const Commands&) = delete;

  void give() {
    for (unsigned count = 0; count < MOST_COMMANDS && m_data.remaining_bytes() > 0; count++) {
      const bool fails = m_data.ConsumeIntegralInRange(0, 7) == 7;
      fails ? m_bus.failAll() : m_bus.failNone();
      const Words words = takeWords();
      const auto outLen = m_data.ConsumeIntegralInRange<std::uint32_t>(0, 700);
      for (Zorvan::DebugRegistry::Call call; call.next();) {
        ask(call.object(), words, outLen, !fails);
      }
    }
  }

private:
  void construct(bool hasDriver) {
    const std::unique_ptr<FailingNew> noDriver(hasDriver ? nullptr : new FailingNew(sizeof(CPD69104)));
    m_engine = std::make_unique<CPD69104Engine>();
    m_hasDriver = hasDriver;
  }

  void runOneCycle() {
    onSleep([this](double /*seconds*/) { m_engine->stop(); });
    m_engine->start();
    m_posix.runThread();
    onSleep({});
  }

  Words takeWords() {
    Words words(m_data.ConsumeIntegralInRange<std::size_t>(0, 4));
    for (std::size_t i = 0; i < words.size(); i++) {
      if (m_data.ConsumeBool()) {
        words[i] = i == 0 ? m_data.PickValueInArray(KNOWN) : m_data.PickValueInArray(NUMBERS);
      } else {
        const std::string bytes = m_data.ConsumeRandomLengthString(40);
        words[i] = bytes.substr(0, bytes.find('\0')); // a word has no NUL
      }
    }
    return words;
  }

  void ask(Zorvan::Cdebugable& object, const Words& words, std::uint32_t outLen, bool isHealthy) {
    reply(object, {"readReg", "0"}, WHOLE); // the first good transfer ends what a failing one has begun
    m_bus.takeTransfers();
    const std::string whole = reply(object, words, WHOLE);
    if (isHealthy) {
      expectRegisterCommand(words, whole);
    }
    const std::string cut = reply(object, words, outLen);
    if (isHealthy) { // of a failing chip the second reply counts one error more
      EXPECT_EQ(cut, whole.substr(0, outLen)) << "cut at " << outLen;
    }
  }

  // The reply up to its first NUL, after which there is nothing else.
  static std::string reply(Zorvan::Cdebugable& object, const Words& words, std::uint32_t outLen) {
    std::vector<const char*> argv;
    for (const std::string& word : words) {
      argv.push_back(word.c_str());
    }
    std::string out(outLen + GUARD, '#');
    const std::uint32_t result =
        object.dbgCommand(static_cast<std::uint32_t>(words.size()), argv.data(), out.data(), outLen);
    const bool isKnown =
        !words.empty() && std::find(std::begin(KNOWN), std::end(KNOWN), words[0]) != std::end(KNOWN);
    EXPECT_EQ(result, isKnown ? 1U : 0U);
    EXPECT_EQ(out.substr(outLen), std::string(GUARD, '#')) << "written beyond the buffer";
    out.resize(outLen);
    const std::size_t length = std::min(out.find('\0'), out.size());
    EXPECT_EQ(out.find_first_not_of('\0', length), std::string::npos) << "not filled up with NUL";
    if (outLen == WHOLE) {
      EXPECT_EQ(out.substr(length - 1, 1), "\n");
    }
    return out.substr(0, length);
  }

  // The reply to readReg and writeReg, and their only transfer.
  void expectRegisterCommand(const Words& words, const std::string& whole) {
    const bool reads = !words.empty() && words[0] == "readReg" && words.size() > 1;
    const bool writes = !words.empty() && words[0] == "writeReg" && words.size() > 2;
    if (!reads && !writes) {
      return;
    }
    const std::uint32_t address = numberOf(words[1]);
    const Transfers transfers = m_bus.takeTransfers();
    if (!m_hasDriver || address > 0xCE) {
      const std::string start = reads ? "ERROR in reading register: 0x" : "ERROR in writing register: 0x";
      EXPECT_EQ(whole, start + hexadecimal(address) + "\n\n");
      EXPECT_EQ(transfers, Transfers{});
      return;
    }
    const std::uint32_t value = reads ? m_registers[address] : numberOf(words[2]);
    const std::string start = reads ? "PD69104Engine: value read 0x" : "PD69104Engine: value written ok 0x";
    EXPECT_EQ(whole, start + hexadecimal(address) + ":0x" + hexadecimal(value) + "\n\n");
    EXPECT_EQ(transfers, Transfers{reads ? R(address, value) : W(address, value & 0xFF)});
  }

  FuzzedDataProvider& m_data;
  RegisterFile m_registers;
  I2cBus m_bus{m_registers};
  PosixDoubles m_posix;
  std::unique_ptr<CPD69104Engine> m_engine;
  bool m_hasDriver = true;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Commands(data).give();
  return 0;
}
