// The world outside the chip: faults, supply, temperature, the active bank, and how
// it is read back from an image of the registers.
#include "simulator/chip/chip_model.h"
#include "simulator/chip/chip_units.h"

#include <algorithm>
#include <cmath>

namespace {

// Below it the chip has not enough to drive a port, whatever its registers say.
constexpr double LEAST_SUPPLY = 30.0;
// Makes up for the rounding of voltage and current: a device that is read back must
// not seem to draw more than its limit.
constexpr double WATT_STEPS = 100.0;

ChipModel::Signature signatureOf(unsigned detectionCode) {
  using Signature = ChipModel::Signature;
  static constexpr std::array<Signature, 8> SIGNATURES = {Signature::None,
                                                          Signature::Short,
                                                          Signature::CapacitanceTooHigh,
                                                          Signature::ResistanceTooLow,
                                                          Signature::Good,
                                                          Signature::ResistanceTooHigh,
                                                          Signature::None,
                                                          Signature::None};
  return SIGNATURES.at(detectionCode);
}

} // namespace

void ChipModel::fault(unsigned port, Fault fault) {
  m_ports.at(port).fault = fault;
  publishEnvironment();
  settle();
}

void ChipModel::classError(unsigned port) {
  m_ports.at(port).classErrorPending = true;
}

void ChipModel::temperature(double degreesC) {
  m_degreesC = degreesC;
  publishEnvironment();
}

void ChipModel::thermalShutdown(bool on) {
  m_thermalShutdown = on;
  publishEnvironment();
  settle();
}

void ChipModel::supply(double volts) {
  m_volts = volts;
  publishEnvironment();
  settle();
  for (unsigned port = 0; port < PORTS; ++port) {
    publishPower(port);
  }
}

void ChipModel::activeBank(unsigned bank) {
  m_bank = bank;
  publishEnvironment();
  settle();
}

double ChipModel::minimumSupply() const {
  return (word(0xCB) & 0x7FF) * MINIMUM_VOLTS_PER_UNIT;
}

bool ChipModel::supplied() const {
  return m_volts >= minimumSupply() && m_volts >= LEAST_SUPPLY;
}

void ChipModel::publishEnvironment() {
  // The smallest value that reads as the whole degree.
  const double units = std::ceil((std::floor(m_degreesC) - DEGREES_AT_ZERO) / DEGREES_PER_UNIT);
  setReg(0x70, static_cast<std::uint8_t>(std::clamp(units, 0.0, 255.0)));
  setWord(0x71, static_cast<unsigned>(std::lround(m_volts / VOLTS_PER_UNIT)));
  setField(0x42, 1, 7, m_thermalShutdown ? 1 : 0);
  setField(0x91, 0x0F, 3, m_bank);
  for (unsigned port = 0; port < PORTS; ++port) {
    const Fault fault = m_ports.at(port).fault;
    setField(0x49 + 5 * port, 1, 1, fault == Fault::Fet ? 1 : 0);
    setField(0x75 + port / 2, 1, 4 * (port % 2), fault == Fault::OverTemperature ? 1 : 0);
  }
}

void ChipModel::load(const RegisterImage& image) {
  for (std::size_t address = 0; address < image.size(); ++address) {
    m_registers.at(address) = image.at(address).value_or(m_registers.at(address));
  }
  takeUpEnvironment();
  for (unsigned port = 0; port < PORTS; ++port) {
    takeUpPort(port);
  }
}

void ChipModel::takeUpEnvironment() {
  m_degreesC = std::trunc(reg(0x70) * DEGREES_PER_UNIT) + DEGREES_AT_ZERO;
  m_volts = word(0x71) * VOLTS_PER_UNIT;
  m_thermalShutdown = field(0x42, 1, 7) != 0;
  m_bank = activeBank();
  for (unsigned port = 0; port < PORTS; ++port) {
    const bool hot = field(0x75 + port / 2, 1, 4 * (port % 2)) != 0;
    const bool broken = field(0x49 + 5 * port, 1, 1) != 0;
    m_ports.at(port).fault = broken ? Fault::Fet : hot ? Fault::OverTemperature : Fault::None;
  }
}

// A good device that shows no power is taken to draw what one draws by default.
void ChipModel::takeUpPort(unsigned port) {
  Port& p = m_ports.at(port);
  const unsigned code = field(0x0C + port, 7, 4);
  p.device = Device{signatureOf(field(0x0C + port, 7, 0)), code >= 1 && code <= 4 ? code : 0, 0.0};
  p.classErrorPending = false;
  p.phase = Phase::Off;
  p.left = 0;
  const bool powered = field(0x10, 1, port) != 0 && p.device.signature == Signature::Good;
  if (powered) {
    const double watts = word(0x32 + 4 * port) * VOLTS_PER_UNIT * word(0x30 + 4 * port) * AMPS_PER_UNIT;
    p.device.watts = std::floor(watts * WATT_STEPS) / WATT_STEPS;
  } else if (p.device.signature == Signature::Good) {
    p.device.watts = Device().watts;
  }
  if (!switchedOn(port)) {
    return;
  }
  p.phase = powered ? Phase::Delivering : Phase::Off;
  if (!powered) {
    enter(port, p.device.signature == Signature::None ? Phase::Detecting : Phase::Waiting);
  }
}
