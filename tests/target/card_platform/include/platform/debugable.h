#pragma once

#include <cstdint>
#include <sstream>
#include <string>

namespace Zorvan {

class Cdebugable {
public:
  explicit Cdebugable(const std::string& name);
  virtual ~Cdebugable();
  virtual std::uint32_t dbgCommand(std::uint32_t argc, const char* const* argv, char* out,
                                   std::uint32_t outLen);
  virtual std::uint32_t dbgFind(const std::string& name, char* out, std::uint32_t outLen);
  virtual void dbgHelp(std::uint32_t argc, const char* const* argv, std::ostringstream& out);

private:
  char m_name[32];
};

} // namespace Zorvan
