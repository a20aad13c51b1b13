// The environment of the chip: faults, supply, temperature, the active bank, and how it is read back from an
// image of the registers.
#include "simulator/chip/chip_model.h"

#include <algorithm>
#include <cmath>

namespace {

using data_sheet::Classification;
using data_sheet::Detection;

// Below it the chip cannot power a port.
constexpr double MIN_SUPPLY_V = 30.0;
// Makes up for the rounding of voltage and current: a device that is read back must not seem to draw more
// than its limit.
constexpr double STEPS_PER_WATT = 100.0;

ChipModel::Signature signatureOf(Detection detection) {
  const bool hasSignature = detection != Detection::Unknown && detection != Detection::Illegal;
  return hasSignature ? detection : Detection::OpenCircuit;
}

// Class 0 has a code of its own, and any other code says nothing about the class.
unsigned classOf(Classification classification) {
  const bool isNumber = classification >= Classification::Class1 && classification <= Classification::Class4;
  return isNumber ? static_cast<unsigned>(classification) : 0;
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
  return measured(data_sheet::MINIMUM_VOLTAGE);
}

bool ChipModel::supplied() const {
  return m_volts >= minimumSupply() && m_volts >= MIN_SUPPLY_V;
}

void ChipModel::publishEnvironment() {
  // The smallest value that reads as the whole degree.
  const double units =
      std::ceil((std::floor(m_degreesC) - data_sheet::DEGREES_AT_ZERO) / data_sheet::DEGREES_PER_UNIT);
  set(data_sheet::TEMPERATURE, static_cast<unsigned>(std::clamp(units, 0.0, 255.0)));
  set(data_sheet::MAIN_VOLTAGE, static_cast<unsigned>(std::lround(m_volts / data_sheet::MAIN_VOLTAGE.unit)));
  set(data_sheet::THERMAL_SHUTDOWN, m_thermalShutdown);
  set(data_sheet::ACTIVE_BANK, m_bank);
  for (unsigned port = 0; port < PORTS; ++port) {
    const Fault fault = m_ports.at(port).fault;
    set(data_sheet::FET_ERROR.of(port), fault == Fault::Fet);
    set(data_sheet::OVERTEMPERATURE.of(port), fault == Fault::OverTemperature);
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
  m_degreesC =
      std::trunc(get(data_sheet::TEMPERATURE) * data_sheet::DEGREES_PER_UNIT) + data_sheet::DEGREES_AT_ZERO;
  m_volts = measured(data_sheet::MAIN_VOLTAGE);
  m_thermalShutdown = get(data_sheet::THERMAL_SHUTDOWN);
  m_bank = activeBank();
  for (unsigned port = 0; port < PORTS; ++port) {
    const bool hot = get(data_sheet::OVERTEMPERATURE.of(port));
    const bool broken = get(data_sheet::FET_ERROR.of(port));
    m_ports.at(port).fault = broken ? Fault::Fet : hot ? Fault::OverTemperature : Fault::None;
  }
}

// A good device that shows no power is assumed to draw what one draws by default.
void ChipModel::takeUpPort(unsigned port) {
  Port& p = m_ports.at(port);
  p.device = Device{signatureOf(get(data_sheet::DETECTION.of(port))),
                    classOf(get(data_sheet::CLASSIFICATION.of(port))), 0.0};
  p.classErrorPending = false;
  p.phase = Phase::Off;
  p.left = 0;
  const bool powered = get(data_sheet::POWER_ENABLED.of(port)) && p.device.signature == Signature::Good;
  if (powered) {
    p.device.watts = std::floor(shownWatts(port) * STEPS_PER_WATT) / STEPS_PER_WATT;
  } else if (p.device.signature == Signature::Good) {
    p.device.watts = Device().watts;
  }
  if (!switchedOn(port)) {
    return;
  }
  p.phase = powered ? Phase::Delivering : Phase::Off;
  if (!powered) {
    enter(port, p.device.signature == Signature::OpenCircuit ? Phase::Detecting : Phase::ErrorDelay);
  }
}
