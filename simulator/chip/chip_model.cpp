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
  if (!m_present || address > data_sheet::LAST_REGISTER) {
    return false;
  }
  *value = reg(address);
  return true;
}

bool ChipModel::write(std::uint8_t address, std::uint8_t value) {
  if (!m_present || address > data_sheet::LAST_REGISTER) {
    return false;
  }
  const data_sheet::Register* found = data_sheet::registerAt(address);
  if (found == nullptr || found->access == data_sheet::Access::ReadWrite) {
    setReg(address, value);
  }
  for (unsigned port = 0; port < PORTS; ++port) {
    const data_sheet::Field<bool> reset = data_sheet::RESET.of(port);
    if (address == reset.address && reset.in(value)) {
      switchOff(port);
    }
  }
  settle();
  return true;
}

void ChipModel::plug(unsigned port, const Device& device) {
  Port& p = m_ports.at(port);
  if (p.phase == Phase::Delivering) {
    count(device.signature == Signature::Short ? data_sheet::SHORT_COUNT : data_sheet::UNDERLOAD_COUNT, port);
  }
  p.device = device;
  restart(port);
}

void ChipModel::unplug(unsigned port) {
  plug(port, {Signature::OpenCircuit, 0, 0.0});
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
  for (unsigned address = 0; address < m_registers.size(); ++address) {
    const data_sheet::Register* found = data_sheet::registerAt(static_cast<std::uint8_t>(address));
    m_registers.at(address) = found == nullptr ? std::uint8_t{0} : found->powerOn;
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

unsigned ChipModel::get(const data_sheet::Word& word) const {
  return (m_registers.at(word.low) + 256U * m_registers.at(word.high)) & word.mask;
}

void ChipModel::set(const data_sheet::Word& word, unsigned value) {
  m_registers.at(word.low) = static_cast<std::uint8_t>(value & 0xFF);
  m_registers.at(word.high) = static_cast<std::uint8_t>(value >> 8 & 0xFF);
}

// What the port's voltage and current registers show.
double ChipModel::shownWatts(unsigned port) const {
  const data_sheet::Word current = data_sheet::PORT_CURRENT.of(port);
  return measured(data_sheet::PORT_VOLTAGE.of(port)) * get(current) * current.unit;
}
