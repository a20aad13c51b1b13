#include "platform/trace_object.h"

TraceObject* g_traceObject = nullptr;

TraceObject::TraceObject(const char* /*name*/, std::int32_t level) : m_level(new std::int32_t(level)) {}

TraceObject::~TraceObject() {
  delete m_level;
}
