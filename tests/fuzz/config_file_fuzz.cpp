// Configuration files: any text is refused in one line, or read; what was read is in its ranges, stays the
// same when it is written and read again, and can be explained.
#include "components/PoeDriver/power_limits.h"
#include "poectl/config/audit_text.h"
#include "poectl/config/config_check.h"
#include "poectl/config/config_file.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/refusal.h"

#include <cstring>

namespace {

std::string tomlOf(const PoeConfig& config) {
  std::string text = "[banks]\n";
  for (unsigned bank = 0; bank < POE_BANKS; bank++) {
    text += "bank" + std::to_string(bank) + " = " + std::to_string(config.bankPowerLimit[bank]) + "\n";
  }
  for (unsigned number = 0; number < POE_PORTS; number++) {
    const PoePortConfig& port = config.port[number];
    text += "[port." + std::to_string(number) + "]\n";
    text += std::string("enable = ") + (port.adminEnable != 0 ? "true" : "false") + "\n";
    text += "priority = " + std::to_string(port.priority) + "\n";
    text += "limit = " + std::to_string(port.powerLimit) + "\n";
  }
  return text;
}

void expectRanges(const PoeConfig& config) {
  for (const PoePortConfig& port : config.port) {
    EXPECT_LE(port.adminEnable, 1);
    EXPECT_GE(port.priority, 1U);
    EXPECT_LE(port.priority, 3U);
    EXPECT_LE(port.powerLimit, 40000U);
  }
}

// What fits is no more than the bank has, and all of it can be told in words.
void expectExplanation(const PoeConfig& config, std::uint32_t bankLimit) {
  PortPowerStates states;
  states.fill({4, true});
  std::uint64_t used = 0;
  for (const PowerDecision& decision : decidePower(config, bankLimit, states)) {
    used += decision.verdict == PowerVerdict::FITS ? decision.needW : 0;
  }
  EXPECT_LE(used, bankLimit);
  const std::string text = auditText(config, bankLimit, states);
  EXPECT_EQ(text.back(), '\n');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  PoeConfig config{};
  try {
    config = parseConfig(text, "f");
  } catch (const ConfigError& error) {
    expectRefusal(error.what(), text);
    return 0;
  }
  expectRanges(config);
  const PoeConfig again = parseConfig(tomlOf(config), "again");
  EXPECT_EQ(std::memcmp(&config, &again, sizeof config), 0);
  EXPECT_NE(configText(config).find("sum of the limits: "), std::string::npos);
  expectExplanation(config, effectiveBankLimitW(config.bankPowerLimit[0]));
  return 0;
}
