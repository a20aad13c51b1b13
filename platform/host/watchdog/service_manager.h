// Keep-alive messages to the machine's service manager, when one has started this process and expects them.
#pragma once

class ServiceManager {
public:
  // Looks once whether a service manager is there. To be made and used by one thread.
  ServiceManager();

  // Tells the service manager that the process is alive. Does nothing when there is none.
  void keepAlive() const;

private:
  bool m_present;
};
