#include "platform/debugable.h"

#include <algorithm>
#include <cstddef>

#include <syslog.h>

#include "platform/host/console/debug_registry.h"

namespace Zorvan {

Cdebugable::Cdebugable(const std::string& name) : m_name(name) {
  if (!DebugRegistry::instance().add(this)) {
    syslog(LOG_ERR, "debug console: no memory for %s; it cannot be addressed\n", m_name.c_str());
  }
}

Cdebugable::~Cdebugable() {
  DebugRegistry::instance().remove(this);
}

std::uint32_t Cdebugable::dbgCommand(std::uint32_t /*argc*/, const char* const* /*argv*/, char* /*out*/,
                                     std::uint32_t /*outLen*/) {
  return 0;
}

std::uint32_t Cdebugable::dbgFind(const std::string& name, char* out, std::uint32_t outLen) {
  if (!name.empty() && name != m_name) {
    return 0;
  }
  if (outLen > 0) {
    out[m_name.copy(out, outLen - 1)] = '\0';
  }
  return 1;
}

void Cdebugable::dbgHelp(std::uint32_t /*argc*/, const char* const* /*argv*/, std::ostringstream& out) {
  out << m_name << '\n';
}

} // namespace Zorvan
