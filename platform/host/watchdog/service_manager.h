// Keep-alive messages to the machine's service manager, when one has started this process and expects them.
#pragma once

#include <cstdint>
#include <string>

class ServiceManager {
public:
  // Looks once whether a service manager waits for keep-alives. To be made and used by one thread.
  ServiceManager();

  // How often the service manager wants a keep-alive, in milliseconds: half the time after which it restarts
  // the process. 0: it wants none, or there is none.
  std::uint64_t period() const { return m_period; }

  // Tells the service manager that the process is alive. Does nothing when it wants no keep-alive.
  void keepAlive() const;

private:
  std::string m_socket; // its path, or its abstract name after an "@"
  std::uint64_t m_period = 0;
};
