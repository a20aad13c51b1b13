#pragma once

#include <cstdint>

class TraceObject {
public:
  TraceObject(const char* name, std::int32_t level);
  ~TraceObject();

private:
  std::int32_t* m_level;
};

extern TraceObject* g_traceObject;
