// The trace level of the process.
//
// Whoever writes a gated log line reads the level anew for each line, through the pointer that is the
// object's first field; the pointer may be null (then nothing gated is written). The level is a syslog
// priority: a line of priority p is written when the level is at least p. It may be changed from any thread
// at any time.
#pragma once

#include <cstdint>
#include <string>

class TraceObject {
public:
  // `name` names the module that traces; `level` is a syslog priority, 0 (nothing but emergencies) to 7
  // (all).
  TraceObject(const std::string& name, std::int32_t level);
  TraceObject(const TraceObject&) = delete;
  TraceObject& operator=(const TraceObject&) = delete;
  ~TraceObject();

  // Sets the level from now on.
  void setLevel(std::int32_t level);

  // True when a line of this syslog priority is to be written now.
  bool writes(int priority) const {
    return m_level != nullptr && __atomic_load_n(m_level, __ATOMIC_RELAXED) >= priority;
  }

  const std::string& name() const { return m_name; }

private:
  std::int32_t* m_level; // first field: others find the level through it
  std::int32_t m_ownLevel;
  std::string m_name;
};

// The process's trace object, null when there is none. Created and destroyed by the process entry only.
extern TraceObject* g_traceObject;
