// The trace level of the process.
//
// Whoever writes a gated log line reads the level anew for each line, through the pointer that is the
// object's first field; the pointer may be null (then nothing gated is written). The level is a syslog
// priority: a line of priority p is written when the level is at least p. Any thread may change it through
// the pointer at any time, by an atomic store.
#pragma once

#include <cstdint>
#include <string>

class TraceObject {
public:
  // `name` names the module that traces, cut at 31 bytes; `level` is a syslog priority, 0 (nothing but
  // emergencies) to 7 (all).
  TraceObject(const std::string& name, std::int32_t level) noexcept;
  TraceObject(const TraceObject&) = delete;
  TraceObject& operator=(const TraceObject&) = delete;
  ~TraceObject() = default;

  const char* name() const { return m_name; }

private:
  [[maybe_unused]] std::int32_t* m_level; // first field: others find the level through it
  std::int32_t m_ownLevel;
  char m_name[32];
};

// The process's trace object, null when there is none. Created and destroyed by the process entry only.
extern TraceObject* g_traceObject;
