// The phases of a port: detection, classification, power-up, delivery, error delay, and what its registers
// show.
#include "simulator/chip/chip_model.h"

#include <algorithm>
#include <cmath>

namespace {

using data_sheet::Classification;
using data_sheet::Detection;

constexpr std::int64_t MILLISECOND = 1'000'000;
constexpr std::int64_t DETECTION_TIME = 150 * MILLISECOND;
constexpr std::int64_t CLASSIFICATION_TIME = 100 * MILLISECOND;
constexpr std::int64_t POWER_UP_TIME = 50 * MILLISECOND;
constexpr std::int64_t ERROR_DELAY = 1000 * MILLISECOND;

constexpr unsigned MAX_WORD = 0xFFFF;

// Code 0 means that the class is not known, so class 0 has a code of its own.
Classification classificationOf(unsigned pdClass) {
  return pdClass == 0 ? Classification::Class0 : static_cast<Classification>(pdClass);
}

} // namespace

bool ChipModel::switchedOn(unsigned port) const {
  const bool automatic = get(data_sheet::PORT_MODE.of(port)) == data_sheet::PortMode::Automatic;
  const bool detects = get(data_sheet::DETECTION_ENABLED.of(port));
  const bool classifies = get(data_sheet::CLASSIFICATION_ENABLED.of(port));
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
  case Phase::ErrorDelay:
    p.left = ERROR_DELAY;
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
      count(data_sheet::POWER_DENIED_COUNT, port);
      enter(port, Phase::ErrorDelay);
    }
    break;
  case Phase::ErrorDelay:
    enter(port, Phase::Detecting);
    break;
  case Phase::Off:
  case Phase::Delivering:
    break;
  }
}

void ChipModel::endDetection(unsigned port) {
  const Signature found = m_ports.at(port).device.signature;
  if (found == Signature::Good) {
    // A port that is tried again keeps showing its last class meanwhile.
    publishDetection(port, found, get(data_sheet::CLASSIFICATION.of(port)), false);
    enter(port, Phase::Classifying);
  } else if (found == Signature::OpenCircuit) {
    publishDetection(port, found, Classification::Unknown, false);
    enter(port, Phase::Detecting);
  } else {
    publishDetection(port, found, Classification::Unknown, true);
    count(data_sheet::INVALID_SIGNATURE_COUNT, port);
    enter(port, Phase::ErrorDelay);
  }
}

void ChipModel::endClassification(unsigned port) {
  Port& p = m_ports.at(port);
  if (p.classErrorPending) {
    p.classErrorPending = false;
    publishDetection(port, Detection::Good, Classification::Overcurrent, false);
    count(data_sheet::CLASS_ERROR_COUNT, port);
    enter(port, Phase::ErrorDelay);
  } else {
    publishDetection(port, Detection::Good, classificationOf(p.device.pdClass), false);
    enter(port, Phase::PoweringUp);
  }
}

void ChipModel::switchOff(unsigned port) {
  enter(port, Phase::Off);
  publishDetection(port, Detection::Unknown, Classification::Unknown, false);
}

// Another device, or none, on the port's wires.
void ChipModel::restart(unsigned port) {
  if (m_ports.at(port).phase == Phase::Off) {
    return;
  }
  const bool empty = m_ports.at(port).device.signature == Signature::OpenCircuit;
  publishDetection(port, empty ? Detection::OpenCircuit : Detection::Unknown, Classification::Unknown, false);
  enter(port, Phase::Detecting);
}

void ChipModel::count(const EventCount& events, unsigned port) {
  set(events.of(port), get(events.of(port)) + 1);
}

void ChipModel::publishDetection(unsigned port, Detection detection, Classification classification,
                                 bool failed) {
  set(data_sheet::DETECTION.of(port), detection);
  set(data_sheet::CLASSIFICATION.of(port), classification);
  set(data_sheet::DETECTION_FAILED.of(port), failed);
}

// The power registers follow from voltage and current as they are shown.
void ChipModel::publishPower(unsigned port) {
  const Port& p = m_ports.at(port);
  const bool on = p.phase == Phase::Delivering;
  set(data_sheet::POWER_ENABLED.of(port), on);
  set(data_sheet::POWER_GOOD.of(port), on);

  const unsigned voltage = on ? get(data_sheet::MAIN_VOLTAGE) : 0;
  const double volts = voltage * data_sheet::VOLTS_PER_UNIT;
  const double amps = volts > 0.0 ? p.device.watts / volts : 0.0;
  const auto current = static_cast<unsigned>(std::lround(amps / data_sheet::AMPS_PER_UNIT));
  set(data_sheet::PORT_VOLTAGE.of(port), voltage);
  set(data_sheet::PORT_CURRENT.of(port), std::min(current, MAX_WORD));
  set(data_sheet::CONSUMPTION_W.of(port), static_cast<unsigned>(std::lround(shownWatts(port))));

  double total = 0.0;
  for (unsigned i = 0; i < PORTS; ++i) {
    total += shownWatts(i);
  }
  set(data_sheet::TOTAL_CONSUMPTION_W, static_cast<unsigned>(std::lround(total)));
}
