// Base class of an object that the debug console can address by name.
//
// The constructor registers the object, the destructor takes it out again and waits for a console call that
// is in progress, so an object is never called after its base is gone.
//
// Without memory for its entry the object works, but the console does not find it.
//
// The card's console may call the object as soon as the base is constructed. A derived class therefore holds
// a lock throughout its construction, and its handler takes the same lock for whatever the constructor sets.
// On the host, other threads find the object from the constructing thread's next call to a watchdog client or
// a console server on.
//
// The three virtual operations are called on a thread of the console server, one call at a time.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>

namespace Zorvan {

class Cdebugable {
public:
  // `name` is the word that addresses the object. Names are matched whole and in their case; of two objects
  // with the same name the one registered first answers.
  explicit Cdebugable(const std::string& name);
  Cdebugable(const Cdebugable&) = delete;
  Cdebugable& operator=(const Cdebugable&) = delete;
  virtual ~Cdebugable();

  // The command handler. `argv` holds `argc` words, the object's name already taken off; the reply goes into
  // `out`, which has room for `outLen` bytes, ended by NUL unless it fills the buffer. Returns 1 when the
  // command was known, else 0. The base version writes nothing and returns 0.
  virtual std::uint32_t dbgCommand(std::uint32_t argc, const char* const* argv, char* out,
                                   std::uint32_t outLen);

  // Is this the object that `name` addresses? Returns 1 and writes the object's name to `out` (cut at
  // `outLen` - 1 characters, ended by NUL) when `name` is the object's name or empty, else returns 0 and
  // leaves `out` alone.
  virtual std::uint32_t dbgFind(const std::string& name, char* out, std::uint32_t outLen);

  // Writes one line that says how the object is addressed. The words of the command that asked are in `argv`.
  virtual void dbgHelp(std::uint32_t argc, const char* const* argv, std::ostringstream& out);

private:
  std::string m_name;
};

} // namespace Zorvan
