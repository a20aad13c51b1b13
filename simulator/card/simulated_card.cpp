#include "simulator/card/simulated_card.h"

#include <algorithm>
#include <utility>

using std::chrono::nanoseconds;

SimulatedCard::SimulatedCard(Time time) : m_time(time), m_start(Clock::now()) {}

bool SimulatedCard::read(std::uint8_t address, std::uint8_t* value) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  letTransferTimePass();
  const bool done = !m_card.bus.fails(address) && m_card.chip.read(address, value);
  if (m_record != nullptr) {
    m_record->read(m_now, address, *value, done);
  }
  return done;
}

bool SimulatedCard::write(std::uint8_t address, std::uint8_t value) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  letTransferTimePass();
  const bool done = !m_card.bus.fails(address) && m_card.chip.write(address, value);
  if (m_record != nullptr) {
    m_record->write(m_now, address, value, done);
  }
  return done;
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

std::string SimulatedCard::answer(const std::string& line) {
  try {
    return run(parseCardCommand(line));
  } catch (const CardCommandError& error) {
    return std::string("error: ") + error.what() + "\n";
  }
}

void SimulatedCard::follow(const std::vector<ScenarioStep>& scenario) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_scenario = scenario;
  m_nextStep = 0;
  letTimePass();
}

void SimulatedCard::record(std::unique_ptr<TransferRecord> record) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_record = std::move(record);
}

bool SimulatedCard::recordComplete() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_record == nullptr || m_record->complete();
}

void SimulatedCard::letTransferTimePass() {
  if (m_time == Time::Stepped) {
    advanceTo(m_now + STEP);
  } else {
    letTimePass();
  }
}

void SimulatedCard::letTimePass() {
  advanceTo(m_time == Time::Stepped ? m_now : Clock::now() - m_start);
}

void SimulatedCard::advanceTo(nanoseconds time) {
  const auto advance = [this](nanoseconds to) {
    m_card.chip.advance(std::chrono::duration<double>(to - m_now).count());
    m_now = to;
  };
  while (m_nextStep < m_scenario.size() && m_scenario.at(m_nextStep).at <= time) {
    const ScenarioStep& step = m_scenario.at(m_nextStep++);
    advance(std::max(m_now, step.at));
    step.command.run(m_card);
  }
  advance(time);
}
