#include "poectl/record/record_player.h"

#include <algorithm>
#include <utility>

RecordPlayer::RecordPlayer(const std::string& path, RecordReader::Warn warn)
    : m_reader(path, std::move(warn)) {}

bool RecordPlayer::forward() {
  const RecordReader::Place place = m_reader.place();
  try {
    auto record = m_reader.next();
    if (!record) {
      return false;
    }
    m_record = std::move(*record);
  } catch (const InputError& error) {
    m_damage = error.what();
    return false;
  }
  index(place);
  m_number = m_reader.count();
  m_events = m_tracker.record(m_record.snapshot);
  return true;
}

void RecordPlayer::rewindTo(std::uint64_t record) {
  const std::uint64_t before = std::min(std::max<std::uint64_t>(record, 1) - 1, m_number);
  const std::uint64_t entry = before / m_stride;
  m_reader.goTo(entry < m_places.size() ? m_places[static_cast<std::size_t>(entry)] : m_reader.place());
  while (m_reader.count() < before && m_reader.next()) {
  }
  m_number = before;
  m_tracker = {};
  m_events.clear();
  m_damage.clear();
}

unsigned RecordPlayer::percent() const {
  const std::uint64_t size = std::max<std::uint64_t>(m_reader.size(), m_reader.place().offset);
  return size == 0 ? 100 : static_cast<unsigned>(m_reader.place().offset * 100 / size);
}

// Of twice as many records, every second place is enough.
void RecordPlayer::index(const RecordReader::Place& place) {
  if (place.records != m_places.size() * m_stride) {
    return;
  }
  if (m_places.size() == MAX_PLACES) {
    for (std::size_t entry = 0; entry < MAX_PLACES / 2; entry++) {
      m_places[entry] = m_places[entry * 2];
    }
    m_places.resize(MAX_PLACES / 2);
    m_stride *= 2;
  }
  m_places.push_back(place);
}
