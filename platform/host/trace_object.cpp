#include "platform/trace_object.h"

TraceObject* g_traceObject = nullptr;

TraceObject::TraceObject(const std::string& name, std::int32_t level)
    : m_level(&m_ownLevel), m_ownLevel(level), m_name(name) {}

TraceObject::~TraceObject() = default;

void TraceObject::setLevel(std::int32_t level) {
  __atomic_store_n(&m_ownLevel, level, __ATOMIC_RELAXED);
}
