#include "tests/faults/power/stepped_card.h"

#include "text/text.h"

namespace {

constexpr std::chrono::milliseconds PAUSE_STEP{1};

} // namespace

bool SteppedCard::read(std::uint8_t reg, std::uint8_t* value) {
  return isMade() && m_chip.read(reg, value);
}

bool SteppedCard::write(std::uint8_t reg, std::uint8_t value) {
  const bool isGood = isMade() && m_chip.write(reg, value);
  note(text::hexadecimal(reg));
  return isGood;
}

void SteppedCard::pause(std::chrono::milliseconds time) {
  while (time.count() > 0) {
    const std::chrono::milliseconds step = isAtRest() ? time : PAUSE_STEP;
    pass(step);
    time -= step;
  }
}

// Whether time alone changes nothing: all ports are off or powered.
bool SteppedCard::isAtRest() const {
  for (unsigned port = 0; port < ChipModel::PORTS; port++) {
    const ChipModel::Phase phase = m_chip.phase(port);
    if (phase != ChipModel::Phase::Off && phase != ChipModel::Phase::Delivering) {
      return false;
    }
  }
  return true;
}

void SteppedCard::change(const std::function<void(ChipModel&)>& action) {
  action(m_chip);
  note("");
}

void SteppedCard::startWatch() {
  for (unsigned port = 0; port < ChipModel::PORTS; port++) {
    m_histories.at(port) = {m_isPowered.at(port), {}};
  }
  m_time = {};
  m_transfers = 0;
  m_failing = 0;
  m_lethal = 0;
}

void SteppedCard::letServiceRun() {
  m_isServiceKilled = false;
  m_lethal = 0;
}

// Counts a transfer; false: the chip does not see it.
bool SteppedCard::isMade() {
  m_isServiceKilled = m_isServiceKilled || m_transfers + 1 == m_lethal;
  if (m_isServiceKilled) {
    return false;
  }
  m_transfers++;
  pass(TRANSFER_TIME);
  return !m_isBusDead && m_transfers != m_failing;
}

void SteppedCard::pass(std::chrono::nanoseconds time) {
  m_chip.advance(std::chrono::duration<double>(time).count());
  m_time += time;
  note("");
}

void SteppedCard::note(const std::string& cause) {
  for (unsigned port = 0; port < ChipModel::PORTS; port++) {
    const bool isPowered = m_chip.phase(port) == ChipModel::Phase::Delivering;
    if (isPowered != m_isPowered.at(port)) {
      m_isPowered.at(port) = isPowered;
      m_histories.at(port).changes.push_back({isPowered, m_transfers, m_time, cause});
    }
  }
}
