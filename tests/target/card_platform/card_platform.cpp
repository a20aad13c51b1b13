#include "platform/better_sleep.h"
#include "platform/debug_server.h"
#include "platform/debugable.h"
#include "platform/thread_class.h"
#include "platform/trace_object.h"
#include "platform/watchdog_monitor.h"

#include <cstring>
#include <unistd.h>

void BetterSleep(double seconds) {
  usleep(static_cast<unsigned>(seconds * 1e6));
}

namespace Zorvan {

CdebugServer::CdebugServer(std::uint16_t /*port*/, std::uint32_t /*bufferSize*/) {}

CdebugServer::~CdebugServer() = default;

void CdebugServer::start() {}

void CdebugServer::stop() {}

Cdebugable::Cdebugable(const std::string& name) {
  std::strncpy(m_name, name.c_str(), sizeof m_name - 1);
}

Cdebugable::~Cdebugable() = default;

std::uint32_t Cdebugable::dbgCommand(std::uint32_t /*argc*/, const char* const* /*argv*/, char* /*out*/,
                                     std::uint32_t /*outLen*/) {
  return 0;
}

std::uint32_t Cdebugable::dbgFind(const std::string& /*name*/, char* /*out*/, std::uint32_t /*outLen*/) {
  return 0;
}

void Cdebugable::dbgHelp(std::uint32_t /*argc*/, const char* const* /*argv*/, std::ostringstream& out) {
  out << m_name;
}

} // namespace Zorvan

ThreadClass::ThreadClass() = default;

ThreadClass::~ThreadClass() = default;

int ThreadClass::run() {
  return 0;
}

void* ThreadStartup(void* object) {
  static_cast<ThreadClass*>(object)->run();
  return nullptr;
}

TraceObject* g_traceObject = nullptr;

TraceObject::TraceObject(const char* /*name*/, std::int32_t level) : m_level(new std::int32_t(level)) {}

TraceObject::~TraceObject() {
  delete m_level;
}

watchdogMonitor::watchdogMonitor(const char* /*name*/) {}

watchdogMonitor::~watchdogMonitor() = default;

void watchdogMonitor::wdm_start(unsigned /*milliseconds*/) {}

void watchdogMonitor::wdm_notify(int /*code*/) {}

void watchdogMonitor::wdm_dbg(char* buffer, unsigned length) const {
  if (length > 0) {
    buffer[0] = '\0';
  }
}
