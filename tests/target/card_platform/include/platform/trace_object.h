#pragma once

#include <cstdint>

class TraceObject {
public:
  TraceObject(const char* name, std::int32_t level);
  ~TraceObject();
  bool writes(int priority) const { return m_level != nullptr && *m_level >= priority; }

private:
  std::int32_t* m_level;
};

extern TraceObject* g_traceObject;
