#include "tests/support/model/configured_registers.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace {

struct Expectation {
  unsigned reg;
  unsigned mask;
  unsigned bits;
};

void addSwitchedOn(unsigned port, const PoePortConfig& config, std::vector<Expectation>* expected) {
  const unsigned bit = 1U << port;
  const unsigned milliwatts = config.powerLimit == 0 || config.powerLimit > 40000 ? 40000 : config.powerLimit;
  const unsigned tlim = port < 2 ? 0x1E : 0x1F;
  expected->insert(expected->end(), {{0x12, 3U << 2 * port, 3U << 2 * port},
                                     {0x13, bit, bit},
                                     {0x14, bit * 0x11, bit * 0x11},
                                     {0x15, bit, 0},
                                     {tlim, port % 2 == 0 ? 0x0FU : 0xF0U, 0},
                                     {0x44, bit, bit},
                                     {0x46 + 5 * port, 3, 1},
                                     {0x47 + 5 * port, 0xFF, 0xD4},
                                     {0x48 + 5 * port, 0xFF, 0x80},
                                     {0x81 + port, 0xFF, milliwatts / 1000},
                                     {0x85 + port, 0xFF, 0}});
  if (config.priority >= 1 && config.priority <= 3) {
    expected->push_back({0x80, 3U << 2 * port, (config.priority - 1) << 2 * port});
  }
}

} // namespace

std::string differsFromConfiguration(const PoeConfig& config,
                                     const std::function<unsigned(unsigned reg)>& registers) {
  std::vector<Expectation> expected = {{0x7F, 2, 0}};
  for (unsigned bank = 0; bank < 8; bank++) {
    expected.push_back({0x89 + bank, 0xFF, std::min(config.bankPowerLimit[bank], 161U)});
  }
  for (unsigned port = 0; port < 4; port++) {
    if (config.port[port].adminEnable != 0) {
      addSwitchedOn(port, config.port[port], &expected);
    } else {
      expected.push_back({0x12, 3U << 2 * port, 0});
      expected.push_back({0x14, 0x11U << port, 0});
    }
  }
  for (const Expectation& field : expected) {
    const unsigned now = registers(field.reg);
    if ((now & field.mask) != field.bits) {
      std::ostringstream text;
      text << std::hex << "register 0x" << field.reg << " holds 0x" << now << ", its bits 0x" << field.mask
           << " should be 0x" << field.bits;
      return text.str();
    }
  }
  return "";
}
