#include "platform/trace_object.h"

#include <algorithm>

TraceObject* g_traceObject = nullptr;

TraceObject::TraceObject(const std::string& name, std::int32_t level) noexcept
    : m_level(&m_ownLevel), m_ownLevel(level), m_name() {
  std::copy_n(name.data(), std::min(name.size(), sizeof m_name - 1), m_name);
}
