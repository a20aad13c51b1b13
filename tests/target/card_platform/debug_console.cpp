#include "platform/debug_server.h"
#include "platform/debugable.h"

#include <cstring>

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
