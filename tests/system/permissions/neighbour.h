// Another machine on the same network: a network namespace of its own, joined by a pair of virtual Ethernet
// interfaces.
#pragma once

#include <string>
#include <sys/types.h>

class Neighbour {
public:
  // The addresses of this machine towards the neighbour.
  static constexpr char HERE_IPV4[] = "192.0.2.1";
  static constexpr char HERE_IPV6[] = "2001:db8::1";

  Neighbour();
  Neighbour(const Neighbour&) = delete;
  Neighbour& operator=(const Neighbour&) = delete;
  ~Neighbour();

  // Why there is none: the system grants it to root alone. Empty when there is one.
  const std::string& refusal() const { return m_refusal; }

  // What comes of the neighbour's connection to an address and port: "" when it is made, else why not.
  std::string connect(const std::string& address, unsigned port) const;

private:
  std::string m_refusal;
  pid_t m_pid = -1; // holds the namespace
};
