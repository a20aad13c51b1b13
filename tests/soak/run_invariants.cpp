#include "tests/soak/run_invariants.h"

#include "tests/support/model/configured_registers.h"

namespace {

std::array<std::uint32_t, 6> countersOf(const PoePortStatus& port) {
  return {port.invalidSignatureCounter, port.powerDeniedCounter, port.overLoadCounter,
          port.underLoadCounter,        port.shortCounter,       port.classErrorCounter};
}

} // namespace

std::string RunInvariants::check(const PoeStatus& status) {
  std::string wrong = checkValues(status) + checkCounters(status);
  m_before = status;
  return wrong;
}

// No field has a value that the service does not know, as one that is read while it is written may have.
std::string RunInvariants::checkValues(const PoeStatus& status) {
  std::string wrong;
  if (status.mainOperStatus != 1 && status.mainOperStatus != 3) {
    wrong += "mainOperStatus is " + std::to_string(status.mainOperStatus) + "\n";
  }
  if (status.thermalShutdown > 1 || status.devError > 1) {
    wrong += "a flag is neither 0 nor 1\n";
  }
  for (const PoePortStatus& port : status.port) {
    if (port.operStatus < 1 || port.operStatus > 6 || port.detectionStatus > 7 ||
        port.powerClassification > 5 || port.powerConsumption > 255) {
      wrong += "a port has a value that does not exist\n";
    }
  }
  return wrong;
}

std::string RunInvariants::checkCounters(const PoeStatus& status) {
  RandomCard::Events counted;
  const bool isRead = m_card.takeCounted(&counted);
  if (isRead && counted.isCounterLost) {
    lostCounts++;
    return "";
  }
  for (unsigned port = 0; port < 4; port++) {
    const auto before = countersOf(m_before.port[port]);
    const auto now = countersOf(status.port[port]);
    for (unsigned kind = 0; kind < 6; kind++) {
      const std::uint32_t added = now.at(kind) - before.at(kind);
      const unsigned happened = isRead ? counted.counts.at(port).at(kind) : 0;
      const unsigned weight = kind == 1 ? 2 : 1;
      events += happened & 3;
      wrapped += happened > 3 ? 1 : 0;
      if (added != weight * (happened & 3)) {
        return "counter " + std::to_string(kind) + " of port " + std::to_string(port) + " advances by " +
               std::to_string(added) + " after " + std::to_string(happened) + " events\n";
      }
    }
  }
  return "";
}

std::string RunInvariants::checkHealthy(const PoeStatus& status) const {
  std::string wrong = differsFromConfiguration(m_config, [&](unsigned reg) { return m_card.reg(reg); });
  if (!wrong.empty()) {
    wrong += "\n";
  }
  if (status.devError != 0) {
    wrong += "devError is set\n";
  }
  if (status.mainPower != m_card.reg(0x89 + (m_card.reg(0x91) >> 3 & 7)) ||
      status.mainConsumption != m_card.reg(0x96)) {
    wrong += "limit or consumption is not the chip's\n";
  }
  for (unsigned port = 0; port < 4; port++) {
    wrong += checkPort(port, status.port[port]);
  }
  return wrong;
}

std::string RunInvariants::checkPort(unsigned port, const PoePortStatus& status) const {
  const bool isEnabled = m_config.port[port].adminEnable != 0;
  const unsigned conditions = m_card.reg(port < 2 ? 0x75 : 0x76) >> (port % 2 == 0 ? 0 : 4);
  const bool isHot = m_card.reg(0x42) >= 0x80 || (conditions & 1) != 0;
  const bool hasFailed = isHot || (m_card.reg(0x49 + 5 * port) & 2) != 0;
  const bool isPowered = (m_card.reg(0x10) >> port & 1) != 0;
  const unsigned detection = m_card.reg(0x0C + port) & 7;
  std::string wrong;
  if ((status.operStatus == 1) == isEnabled || (status.operStatus == 6) != (isEnabled && hasFailed)) {
    wrong += "port " + std::to_string(port) + " is in state " + std::to_string(status.operStatus) + "\n";
  }
  if (status.operStatus == 3 && !isPowered) {
    wrong += "port " + std::to_string(port) + " claims to deliver power\n";
  }
  if (isEnabled && !hasFailed && isPowered && detection == 4 && (conditions & 8) == 0 &&
      status.operStatus != 3) {
    wrong += "port " + std::to_string(port) + " delivers power and does not say so\n";
  }
  if (status.detectionStatus != detection || status.powerConsumption != m_card.reg(0x92 + port)) {
    wrong += "port " + std::to_string(port) + " tells an old detection or consumption\n";
  }
  return wrong;
}
