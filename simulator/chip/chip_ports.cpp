// The life of a port: detection, classification, power-up, delivery, and what
// its registers show of it.
#include "simulator/chip/chip_model.h"
#include "simulator/chip/chip_units.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::int64_t MILLISECOND = 1'000'000;
constexpr std::int64_t DETECTION_TIME = 150 * MILLISECOND;
constexpr std::int64_t CLASSIFICATION_TIME = 100 * MILLISECOND;
constexpr std::int64_t POWER_UP_TIME = 50 * MILLISECOND;
constexpr std::int64_t RETRY_TIME = 1000 * MILLISECOND;

constexpr unsigned MOST_UNITS = 0xFFFF;

constexpr unsigned DETECTION_OPEN = 6;
constexpr unsigned DETECTION_GOOD = 4;
constexpr unsigned CLASS_OVERCURRENT = 7;

unsigned detectionCode(ChipModel::Signature signature) {
  switch (signature) {
  case ChipModel::Signature::Short:
    return 1;
  case ChipModel::Signature::CapacitanceTooHigh:
    return 2;
  case ChipModel::Signature::ResistanceTooLow:
    return 3;
  case ChipModel::Signature::Good:
    return DETECTION_GOOD;
  case ChipModel::Signature::ResistanceTooHigh:
    return 5;
  case ChipModel::Signature::None:
    break;
  }
  return DETECTION_OPEN;
}

// Code 0 means that the class is not known, so class 0 has a code of its own.
unsigned classCode(unsigned pdClass) {
  return pdClass == 0 ? 6 : pdClass;
}

} // namespace

bool ChipModel::switchedOn(unsigned port) const {
  const bool automatic = field(0x12, 3, 2 * port) == 3;
  const bool detects = field(0x14, 1, port) != 0;
  const bool classifies = field(0x14, 1, port + 4) != 0;
  const bool healthy = !m_thermalShutdown && supplied() && m_ports.at(port).fault == Fault::None;
  return automatic && detects && classifies && healthy;
}

// Brings the ports in line with the registers after anything has changed.
void ChipModel::settle() {
  for (unsigned port = 0; port < PORTS; ++port) {
    const bool off = m_ports.at(port).phase == Phase::Off;
    if (off && switchedOn(port)) {
      enter(port, Phase::Detecting);
    } else if (!off && !switchedOn(port)) {
      switchOff(port);
    }
  }
  enforceLimits();
}

void ChipModel::enter(unsigned port, Phase phase) {
  Port& p = m_ports.at(port);
  const bool powerChanges = (p.phase == Phase::Delivering) != (phase == Phase::Delivering);
  p.phase = phase;
  switch (phase) {
  case Phase::Detecting:
    p.left = DETECTION_TIME;
    break;
  case Phase::Classifying:
    p.left = CLASSIFICATION_TIME;
    break;
  case Phase::PoweringUp:
    p.left = POWER_UP_TIME;
    break;
  case Phase::Waiting:
    p.left = RETRY_TIME;
    break;
  case Phase::Off:
  case Phase::Delivering:
    p.left = 0;
    break;
  }
  if (powerChanges) {
    publishPower(port);
  }
}

void ChipModel::endPhase(unsigned port) {
  switch (m_ports.at(port).phase) {
  case Phase::Detecting:
    endDetection(port);
    break;
  case Phase::Classifying:
    endClassification(port);
    break;
  case Phase::PoweringUp:
    if (grant(port)) {
      enter(port, Phase::Delivering);
    } else {
      count(Event::PowerDenied, port);
      enter(port, Phase::Waiting);
    }
    break;
  case Phase::Waiting:
    enter(port, Phase::Detecting);
    break;
  case Phase::Off:
  case Phase::Delivering:
    break;
  }
}

void ChipModel::endDetection(unsigned port) {
  const Signature signature = m_ports.at(port).device.signature;
  const unsigned code = detectionCode(signature);
  if (signature == Signature::Good) {
    // A port that is tried again keeps showing the class it had until then.
    publishDetection(port, code, field(0x0C + port, 7, 4), false);
    enter(port, Phase::Classifying);
  } else if (signature == Signature::None) {
    publishDetection(port, code, 0, false);
    enter(port, Phase::Detecting);
  } else {
    publishDetection(port, code, 0, true);
    count(Event::InvalidSignature, port);
    enter(port, Phase::Waiting);
  }
}

void ChipModel::endClassification(unsigned port) {
  Port& p = m_ports.at(port);
  if (p.classErrorPending) {
    p.classErrorPending = false;
    publishDetection(port, DETECTION_GOOD, CLASS_OVERCURRENT, false);
    count(Event::ClassError, port);
    enter(port, Phase::Waiting);
  } else {
    publishDetection(port, DETECTION_GOOD, classCode(p.device.pdClass), false);
    enter(port, Phase::PoweringUp);
  }
}

void ChipModel::switchOff(unsigned port) {
  enter(port, Phase::Off);
  publishDetection(port, 0, 0, false);
}

// Another device, or none, on the port's wires.
void ChipModel::restart(unsigned port) {
  if (m_ports.at(port).phase == Phase::Off) {
    return;
  }
  const bool empty = m_ports.at(port).device.signature == Signature::None;
  publishDetection(port, empty ? DETECTION_OPEN : 0, 0, false);
  enter(port, Phase::Detecting);
}

void ChipModel::count(Event event, unsigned port) {
  const auto address = static_cast<unsigned>(event);
  setField(address, 3, 2 * port, field(address, 3, 2 * port) + 1);
}

void ChipModel::publishDetection(unsigned port, unsigned detection, unsigned code, bool failed) {
  setField(0x0C + port, 7, 0, detection);
  setField(0x0C + port, 7, 4, code);
  setField(0x75 + port / 2, 1, 4 * (port % 2) + 3, failed ? 1 : 0);
}

// The power registers follow from voltage and current as they are shown.
void ChipModel::publishPower(unsigned port) {
  const Port& p = m_ports.at(port);
  const bool on = p.phase == Phase::Delivering;
  const unsigned voltage = on ? word(0x71) : 0;
  const double volts = voltage * VOLTS_PER_UNIT;
  const double amps = volts > 0.0 ? p.device.watts / volts : 0.0;
  setField(0x10, 1, port, on ? 1 : 0);
  setField(0x10, 1, port + 4, on ? 1 : 0);
  const auto current = static_cast<unsigned>(std::lround(amps / AMPS_PER_UNIT));
  setWord(0x30 + 4 * port, std::min(current, MOST_UNITS));
  setWord(0x32 + 4 * port, voltage);

  double total = 0.0;
  for (unsigned i = 0; i < PORTS; ++i) {
    const double watts = word(0x32 + 4 * i) * VOLTS_PER_UNIT * word(0x30 + 4 * i) * AMPS_PER_UNIT;
    if (i == port) {
      setField(0x92 + i, 0xFF, 0, static_cast<unsigned>(std::lround(watts)));
    }
    total += watts;
  }
  setField(0x96, 0xFF, 0, static_cast<unsigned>(std::lround(total)));
}
