// Configuration files: any text is refused in one line, or read; what was read is in its ranges, stays the
// same when it is written and read again, can be explained, and each value of a port can be changed alone.
#include "components/PoeDriver/power_limits.h"
#include "poectl/config/audit_text.h"
#include "poectl/config/config_check.h"
#include "poectl/config/config_edit.h"
#include "poectl/config/config_file.h"
#include "tests/fuzz/expectations.h"
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>
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

// The decisions about four devices can be told in words.
void expectExplanation(const PoeConfig& config) {
  PortPowerStates states;
  states.fill({4, true});
  EXPECT_EQ(auditText(config, effectiveBankLimitW(config.bankPowerLimit[0]), states).back(), '\n');
}

// A changed value is the only difference between the texts; editConfig() itself reads the new one.
void expectEdits(const std::string& text) {
  for (unsigned port = 0; port < POE_PORTS; port++) {
    for (const PortChange& change :
         {PortChange{port, &PortPlaces::enable, port % 2}, PortChange{port, &PortPlaces::priority, 2},
          PortChange{port, &PortPlaces::limit, 12345}}) {
      const ConfigEdit edit = editConfig(text, "f", change);
      const auto before = std::mismatch(text.begin(), text.end(), edit.text.begin(), edit.text.end()).first;
      const auto after = std::mismatch(text.rbegin(), std::make_reverse_iterator(before), edit.text.rbegin(),
                                       edit.text.rend())
                             .first;
      EXPECT_LE(after.base() - before, static_cast<std::ptrdiff_t>(edit.oldLine.size()));
    }
  }
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
  expectEdits(text);
  expectExplanation(config);
  return 0;
}
