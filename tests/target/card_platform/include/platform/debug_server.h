#pragma once

#include <cstdint>

namespace Zorvan {

class CdebugServer {
public:
  CdebugServer(std::uint16_t port, std::uint32_t bufferSize);
  virtual ~CdebugServer();
  void start();
  void stop();
};

} // namespace Zorvan
