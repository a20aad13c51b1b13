#include "simulator/chip/chip_model.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double NANOSECONDS_PER_SECOND = 1e9;

} // namespace

ChipModel::ChipModel() {
  powerCycle();
}

bool ChipModel::read(std::uint8_t address, std::uint8_t* value) const {
  if (!m_present || address > LAST_REGISTER) {
    return false;
  }
  *value = reg(address);
  return true;
}

bool ChipModel::write(std::uint8_t address, std::uint8_t value) {
  if (!m_present || address > LAST_REGISTER) {
    return false;
  }
  const RegisterFamily* family = findRegister(address);
  if (family == nullptr || family->access == RegisterFamily::Access::ReadWrite) {
    setReg(address, value);
  }
  if (address == 0x1A) {
    for (unsigned port = 0; port < PORTS; ++port) {
      if ((unsigned{value} >> port & 1) != 0) {
        switchOff(port);
      }
    }
  }
  settle();
  return true;
}

void ChipModel::plug(unsigned port, const Device& device) {
  Port& p = m_ports.at(port);
  if (p.phase == Phase::Delivering) {
    count(device.signature == Signature::Short ? Event::Short : Event::UnderLoad, port);
  }
  p.device = device;
  restart(port);
}

void ChipModel::unplug(unsigned port) {
  plug(port, {Signature::None, 0, 0.0});
}

void ChipModel::draw(unsigned port, double watts) {
  Port& p = m_ports.at(port);
  p.device.watts = watts;
  settle();
  if (p.phase == Phase::Delivering) {
    publishPower(port);
  }
}

void ChipModel::powerCycle() {
  for (unsigned address = 0; address <= LAST_REGISTER; ++address) {
    const RegisterFamily* family = findRegister(static_cast<std::uint8_t>(address));
    m_registers.at(address) = family == nullptr ? std::uint8_t{0} : family->powerOn;
  }
  for (Port& port : m_ports) {
    port.phase = Phase::Off;
    port.left = 0;
  }
  publishEnvironment();
}

void ChipModel::advance(double seconds) {
  settle();
  auto rest = static_cast<std::int64_t>(std::llround(seconds * NANOSECONDS_PER_SECOND));
  while (rest > 0) {
    // As far as the next end of a phase, so that the result does not depend on
    // how the time is cut into calls.
    std::int64_t step = rest;
    for (const Port& port : m_ports) {
      if (port.left > 0) {
        step = std::min(step, port.left);
      }
    }
    rest -= step;
    // All clocks before any end of a phase, which may wind the clock of another port.
    std::array<bool, PORTS> ended{};
    for (unsigned port = 0; port < PORTS; ++port) {
      std::int64_t& left = m_ports.at(port).left;
      ended.at(port) = left > 0 && left == step;
      left = std::max<std::int64_t>(left - step, 0);
    }
    for (unsigned port = 0; port < PORTS; ++port) {
      if (ended.at(port)) {
        endPhase(port);
      }
    }
  }
}

unsigned ChipModel::field(unsigned address, unsigned mask, unsigned shift) const {
  return unsigned{m_registers.at(address)} >> shift & mask;
}

void ChipModel::setField(unsigned address, unsigned mask, unsigned shift, unsigned value) {
  std::uint8_t& image = m_registers.at(address);
  image = static_cast<std::uint8_t>((image & ~(mask << shift)) | ((value & mask) << shift));
}

// Words lie low byte first.
void ChipModel::setWord(unsigned address, unsigned value) {
  m_registers.at(address) = static_cast<std::uint8_t>(value & 0xFF);
  m_registers.at(address + 1) = static_cast<std::uint8_t>(value >> 8 & 0xFF);
}

unsigned ChipModel::word(unsigned address) const {
  return m_registers.at(address) + 256U * m_registers.at(address + 1);
}
