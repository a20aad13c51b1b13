#include "simulator/card/simulated_card.h"

#include <algorithm>
#include <utility>

using std::chrono::nanoseconds;

SimulatedCard::SimulatedCard(Time time) : m_time(time), m_start(Clock::now()) {}

bool SimulatedCard::read(std::uint8_t address, std::uint8_t* value) {
  return transfer(Transfer::Direction::Read, address, value);
}

bool SimulatedCard::write(std::uint8_t address, std::uint8_t value) {
  return transfer(Transfer::Direction::Write, address, &value);
}

bool SimulatedCard::transfer(Transfer::Direction direction, std::uint8_t address, std::uint8_t* value) {
  const bool isRead = direction == Transfer::Direction::Read;
  std::unique_lock<std::mutex> lock(m_mutex);
  waitForTheBus(lock);
  letTransferTimePass();
  bool done = false;
  ChipAccess access = ChipAccess::Regular;
  if (!m_card.bus.fails(address) && m_card.chip.present()) {
    done = isRead ? m_card.chip.read(address, value) : m_card.chip.write(address, *value);
    access = isRead ? readOf(address) : writeOf(address);
    m_card.accesses.count(access, address);
  }
  if (m_record != nullptr) {
    m_record->add(m_now, {direction, address, *value, done, access});
  }
  return done;
}

// The control socket goes on meanwhile, and a command that changes the lateness ends the wait.
void SimulatedCard::waitForTheBus(std::unique_lock<std::mutex>& lock) {
  const std::chrono::milliseconds lateness = m_card.bus.lateness();
  if (lateness.count() > 0) {
    m_busChanged.wait_for(lock, lateness,
                          [this, lateness] { return !m_waits || m_card.bus.lateness() != lateness; });
  }
}

void SimulatedCard::endWaits() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_waits = false;
  m_busChanged.notify_all();
}

bool SimulatedCard::acknowledges() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  letTimePass();
  return m_card.chip.present() && !m_card.bus.isDead();
}

void SimulatedCard::setPresent(bool present) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_card.chip.setPresent(present);
}

std::string SimulatedCard::run(const CardCommand& command) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  letTimePass();
  m_busChanged.notify_all();
  return command.run(m_card);
}

std::string SimulatedCard::answer(const std::string& line) {
  try {
    return run(parseCardCommand(line));
  } catch (const CardCommandError& error) {
    return std::string("error: ") + error.what() + "\n";
  }
}

void SimulatedCard::schedule(std::vector<TimedCommand> commands) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_schedule = std::move(commands);
  std::stable_sort(m_schedule.begin(), m_schedule.end(),
                   [](const TimedCommand& one, const TimedCommand& other) { return one.at < other.at; });
  m_nextCommand = 0;
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
  while (m_nextCommand < m_schedule.size() && m_schedule.at(m_nextCommand).at <= time) {
    const TimedCommand& due = m_schedule.at(m_nextCommand++);
    advance(std::max(m_now, due.at));
    due.command.run(m_card);
  }
  advance(time);
}
