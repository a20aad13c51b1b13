#include "poectl/record/plot_data.h"

#include <algorithm>

namespace {

using Value = std::optional<std::uint32_t>;

constexpr StatusField CONSUMPTION = PORT_FIELDS[3];
constexpr StatusField OPER_STATUS = PORT_FIELDS[0];
constexpr StatusField TOTAL = CHIP_FIELDS[3];
constexpr StatusField LIMIT = CHIP_FIELDS[0];

Value valueOf(const StatusField& field, const Snapshot& snapshot, unsigned port) {
  return snapshot.knows(field) ? Value(static_cast<std::uint32_t>(field.read(snapshot.status, port)))
                               : Value();
}

// An empty value is less than any other.
void join(PlotData::Point& point, const PlotData::Point& other) {
  for (unsigned port = 0; port < POE_PORTS; port++) {
    point.consumption[port] = std::max(point.consumption[port], other.consumption[port]);
  }
  point.total = std::max(point.total, other.total);
  point.limit = std::max(point.limit, other.limit);
  point.afterSilence |= other.afterSilence;
}

} // namespace

void PlotData::add(const Snapshot& snapshot) {
  const std::vector<RecordedEvent> events = m_tracker.record(snapshot);
  bool afterSilence = m_records > 0 && m_tracker.isFirstOfRun();
  for (const RecordedEvent& event : events) {
    afterSilence |= event.event.kind == EventKind::STALE;
    if (event.event.kind == EventKind::STATE) {
      continue;
    }
    if (m_events.size() < MAX_EVENTS) {
      m_events.push_back(event);
    } else {
      m_eventsLeftOut++;
    }
  }
  m_begin = m_records == 0 ? snapshot.end : std::min(m_begin, snapshot.end);
  m_end = m_records == 0 ? snapshot.end : std::max(m_end, snapshot.end);
  addPoint(snapshot, afterSilence);
  for (unsigned port = 0; port < POE_PORTS; port++) {
    addState(port, snapshot, afterSilence);
    if (!snapshot.names[port].empty()) {
      m_names[port] = snapshot.names[port];
    }
  }
  m_records++;
}

void PlotData::addPoint(const Snapshot& snapshot, bool afterSilence) {
  Point point;
  point.time = snapshot.end;
  for (unsigned port = 0; port < POE_PORTS; port++) {
    point.consumption[port] = valueOf(CONSUMPTION, snapshot, port);
  }
  point.total = valueOf(TOTAL, snapshot, 0);
  point.limit = valueOf(LIMIT, snapshot, 0);
  point.afterSilence = afterSilence;
  if (!m_points.empty() && m_recordsInLast < m_recordsOfPoint) {
    join(m_points.back(), point);
    m_recordsInLast++;
    return;
  }
  if (m_points.size() == MAX_POINTS) {
    for (std::size_t i = 0; i < MAX_POINTS / 2; i++) {
      m_points[i] = m_points[2 * i];
      join(m_points[i], m_points[2 * i + 1]);
    }
    m_points.resize(MAX_POINTS / 2);
    m_recordsOfPoint *= 2;
  }
  m_points.push_back(point);
  m_recordsInLast = 1;
}

void PlotData::addState(unsigned port, const Snapshot& snapshot, bool afterSilence) {
  const Value operStatus = valueOf(OPER_STATUS, snapshot, port);
  if (m_current[port] && !afterSilence) {
    m_states[*m_current[port]].to = snapshot.end; // a state lasts until another is seen
  }
  if (m_current[port] && !afterSilence && operStatus == m_states[*m_current[port]].operStatus) {
    return;
  }
  m_current[port].reset();
  if (!operStatus) {
    return;
  }
  if (m_states.size() == MAX_STATES) {
    m_statesLeftOut++;
    return;
  }
  m_current[port] = m_states.size();
  m_states.push_back({port, *operStatus, snapshot.end, snapshot.end});
}
