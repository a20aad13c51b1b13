#include "tests/support/model/random_card.h"

#include "simulator/chip/chip_words.h"

#include <utility>

namespace {

constexpr std::uint8_t FIRST_COUNTER = 0x77;
constexpr int STEPS = 10; // of a second, so that no counter wraps unseen within one

} // namespace

unsigned RandomCard::below(unsigned limit) {
  return static_cast<unsigned>(m_random() % limit);
}

unsigned RandomCard::reg(unsigned address) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_chip.reg(static_cast<std::uint8_t>(address));
}

bool RandomCard::isCycleHealthy() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_failed == 0;
}

bool RandomCard::failsNow() {
  switch (m_trouble) {
  case Trouble::OneTransfer:
    return m_transfers == m_failingTransfer;
  case Trouble::Some:
    return once(8);
  case Trouble::All:
    return true;
  case Trouble::None:
    break;
  }
  return false;
}

bool RandomCard::transfer(bool isGood) {
  m_transfers++;
  m_failed += isGood ? 0 : 1;
  return isGood;
}

bool RandomCard::read(std::uint8_t reg, std::uint8_t* value) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const bool isGood = !failsNow() && m_chip.read(reg, value);
  noteCounterRead(reg, isGood);
  return transfer(isGood);
}

bool RandomCard::write(std::uint8_t reg, std::uint8_t value) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const bool isGood = !failsNow() && m_chip.write(reg, value);
  noteEvents();
  return transfer(isGood);
}

void RandomCard::noteEvents() {
  for (unsigned kind = 0; kind < 6; kind++) {
    const unsigned now = m_chip.reg(static_cast<std::uint8_t>(FIRST_COUNTER + kind));
    const unsigned before = std::exchange(m_counters.at(kind), now);
    for (unsigned port = 0; now != before && port < 4; port++) {
      m_events.counts.at(port).at(kind) += ((now >> 2 * port) - (before >> 2 * port)) & 3;
    }
  }
}

void RandomCard::noteCounterRead(std::uint8_t reg, bool isGood) {
  const bool isNext = reg == FIRST_COUNTER + m_countersRead;
  if (!isGood || !isNext) {
    m_countersRead = isGood && reg == FIRST_COUNTER ? 1 : 0;
    return;
  }
  m_countersRead++;
  if (m_countersRead == 6) {
    m_countersRead = 0;
    m_counted = std::exchange(m_events, {});
    m_isCounted = true;
  }
}

bool RandomCard::takeCounted(Events* events) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  *events = m_counted;
  return std::exchange(m_isCounted, false);
}

void RandomCard::disturbPort(unsigned port) {
  if (once(12)) {
    const auto signature = once(5) ? SIGNATURE_WORDS.at(below(6)).second : ChipModel::Signature::Good;
    m_chip.plug(port, {signature, below(5), 1.0 + below(30)});
  } else if (once(25)) {
    m_chip.unplug(port);
  } else if (once(15)) {
    m_chip.draw(port, below(45));
  }
  if (once(200)) {
    m_chip.setReg(static_cast<std::uint8_t>(0x49 + 5 * port), static_cast<std::uint8_t>(below(4)));
  }
  if (once(100)) {
    const std::uint8_t reg = 0x7C; // class errors
    m_chip.setReg(reg, static_cast<std::uint8_t>(m_chip.reg(reg) ^ 1U << 2 * port));
  }
  noteEvents();
}

void RandomCard::disturbChip() {
  if (once(150)) {
    noteEvents();
    m_chip.powerCycle();
    m_counters.fill(0);
    m_events.isCounterLost = true;
  }
  if (m_absenceLeft > 0) {
    m_absenceLeft--;
  } else if (once(200)) {
    m_absenceLeft = 1 + below(10);
  }
  m_chip.setPresent(m_absenceLeft == 0);
  if (once(300)) {
    m_chip.thermalShutdown(once(2));
  }
  if (once(50)) {
    m_chip.temperature(below(120));
  }
  if (once(100)) {
    m_chip.setReg(0x91, static_cast<std::uint8_t>(below(once(10) ? 256 : 32)));
  }
  if (once(100)) {
    m_chip.setReg(static_cast<std::uint8_t>(0x75 + below(2)), static_cast<std::uint8_t>(below(256) & 0x77));
  }
  if (once(100)) {
    m_chip.setReg(0xCB, static_cast<std::uint8_t>(below(256)));
  }
  noteEvents();
}

void RandomCard::disturbBus() {
  if (m_troubleLeft > 0) {
    m_troubleLeft--;
  } else if (once(15)) {
    m_trouble = static_cast<Trouble>(1 + below(3));
    m_troubleLeft = below(5);
  } else {
    m_trouble = Trouble::None;
  }
  m_failingTransfer = below(200);
}

void RandomCard::passOneSecond() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (unsigned port = 0; port < 4; port++) {
    disturbPort(port);
  }
  disturbChip();
  for (int step = 0; step < STEPS; step++) {
    m_chip.advance(1.0 / STEPS);
    noteEvents();
  }
  disturbBus();
  m_transfers = 0;
  m_failed = 0;
}

void RandomCard::calmDown() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_trouble = Trouble::None;
  m_chip.setPresent(true);
  m_chip.thermalShutdown(false);
  m_transfers = 0;
  m_failed = 0;
}

PoeConfig RandomCard::configuration() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  PoeConfig config{};
  for (unsigned bank = 0; bank < 7; bank++) { // bank 7 is the marker of a configured chip and stays 0
    config.bankPowerLimit[bank] = once(10) ? below(400) : 20 + below(100);
  }
  for (PoePortConfig& port : config.port) {
    port.adminEnable = static_cast<std::uint8_t>(once(4) ? 0 : 1 + below(255));
    port.priority = once(20) ? below(6) : 1 + below(3);
    port.powerLimit = once(10) ? below(60000) : 4000 + below(32000);
    port.furtherSettings[below(256)] = static_cast<std::uint8_t>(below(256));
  }
  return config;
}
