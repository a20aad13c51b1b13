#include "tests/support/model/powered_card.h"

#include "tests/support/model/configured_registers.h"

#include <cstring>

namespace {

std::string image(RegisterFile& registers) {
  std::string bytes;
  for (unsigned reg = 0; reg <= 0xCE; reg++) {
    bytes += static_cast<char>(registers[reg]);
  }
  return bytes;
}

} // namespace

PoeConfig fittingConfig() {
  PoeConfig config{};
  config.bankPowerLimit[0] = 100;
  config.bankPowerLimit[3] = 200; // the active bank; more than the chip is given
  for (unsigned port = 0; port < 3; port++) {
    config.port[port] = {1, {}, port + 1, 10000 + 5000 * port, {}};
  }
  return config;
}

void setPoweredPorts(RegisterFile& registers) {
  registers[0x10] = 0x33;
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
  registers[0x91] = 3 << 3;
  registers[0x92] = 12;
  registers[0x96] = 12;
  registers[0xCB] = 0xED;
  registers[0x20] = 0x34; // what the console writes in these tests
}

void loseConfiguration(RegisterFile& registers) {
  for (const unsigned reg : {0x12U, 0x13U, 0x14U, 0x15U, 0x1EU, 0x1FU, 0x44U, 0x46U, 0x4BU, 0x50U, 0x55U}) {
    registers[reg] = 0;
  }
  for (unsigned reg = 0x80; reg <= 0x90; reg++) {
    registers[reg] = 0xAA;
  }
  registers[0x7F] = 2;
}

PoeStatus withoutCounters(PoeStatus status) {
  for (PoePortStatus& port : status.port) {
    port.invalidSignatureCounter = 0;
    port.powerDeniedCounter = 0;
    port.overLoadCounter = 0;
    port.underLoadCounter = 0;
    port.shortCounter = 0;
    port.classErrorCounter = 0;
  }
  return status;
}

std::string Healed::differs(const ServicePair& pair, RegisterFile& registers, const PoeConfig& config) {
  std::string configured = differsFromConfiguration(config, [&](unsigned reg) { return registers[reg]; });
  if (!configured.empty()) {
    return configured;
  }
  const PoeStatus status = withoutCounters(pair.status());
  if (m_image.empty()) {
    m_image = image(registers);
    m_status = status;
  }
  if (image(registers) != m_image) {
    return "the registers are not what they were";
  }
  return std::memcmp(&m_status, &status, sizeof status) == 0 ? "" : "the status is not what it was";
}
