#include "simulator/simulated_card.h"

SimulatedCard::SimulatedCard() : m_now(Clock::now()) {}

bool SimulatedCard::read(std::uint8_t address, std::uint8_t* value) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  letTimePass();
  return !m_card.bus.fails(address) && m_card.chip.read(address, value);
}

bool SimulatedCard::write(std::uint8_t address, std::uint8_t value) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  letTimePass();
  return !m_card.bus.fails(address) && m_card.chip.write(address, value);
}

void SimulatedCard::setPresent(bool present) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_card.chip.setPresent(present);
}

std::string SimulatedCard::run(const CardCommand& command) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  letTimePass();
  return command.run(m_card);
}

void SimulatedCard::letTimePass() {
  const Clock::time_point now = Clock::now();
  m_card.chip.advance(std::chrono::duration<double>(now - m_now).count());
  m_now = now;
}
