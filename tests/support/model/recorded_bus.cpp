#include "tests/support/model/recorded_bus.h"

#include <sstream>
#include <utility>

void RecordedBus::play(Transfers transfers) {
  m_transfers = std::move(transfers);
  m_position = 0;
}

const Transfer* RecordedBus::next(char kind, unsigned reg, unsigned value) {
  if (!m_difference.empty()) {
    return nullptr;
  }
  const bool isMade = m_position < m_transfers.size();
  if (isMade && m_transfers[m_position].kind == kind && m_transfers[m_position].reg == reg &&
      (kind == 'R' || m_transfers[m_position].value == value)) {
    return &m_transfers[m_position++];
  }
  std::ostringstream text;
  text << "transfer " << m_position << " should be " << Transfer{kind, reg, value, true} << ", ";
  if (isMade) {
    text << "is " << m_transfers[m_position];
  } else {
    text << "is missing";
  }
  m_difference = text.str();
  return nullptr;
}

bool RecordedBus::read(unsigned reg, unsigned* value) {
  const Transfer* transfer = next('R', reg, 0);
  if (transfer == nullptr || !transfer->good) {
    return false;
  }
  *value = transfer->value;
  return true;
}

bool RecordedBus::write(unsigned reg, unsigned value) {
  const Transfer* transfer = next('W', reg, value);
  return transfer != nullptr && transfer->good;
}

std::string RecordedBus::takeDifference() {
  if (m_difference.empty() && m_position < m_transfers.size()) {
    std::ostringstream text;
    text << "transfer " << m_position << " should not be made: " << m_transfers[m_position];
    m_difference = text.str();
  }
  m_transfers.clear();
  m_position = 0;
  return std::exchange(m_difference, {});
}
