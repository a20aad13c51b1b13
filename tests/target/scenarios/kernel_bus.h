// What the tests of a machine whose adapter is the simulated card outside share: the card's commands, a
// service with a powered port, and transfers of a program beside the service.
#pragma once

#include "tests/target/support/target_fixture.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

constexpr char ADAPTER[] = "/dev/i2c-0";

class KernelBus : public TargetTest {
protected:
  void SetUp() override;
  void TearDown() override;

  // Passes a command on to the card outside.
  static std::string card(const std::string& words);

  // A service with a PD on port 0 that has its power.
  void startWithAPoweredPort();
  static bool isPowered();

  // Ends the service right after a status message, while it sleeps: i2c-virtio of Linux 6.1 frees a request
  // whose process is killed, and the answer then stops the kernel.
  void endServiceInItsSleep();

  // Status messages until the chip is configured and port 0 has its power again.
  void expectRecovery();

  // How long the action takes.
  static std::chrono::milliseconds timeOf(const std::function<void()>& action);

  // The errno of a byte read of a register; 0 when it succeeds.
  static int errorOfRead(std::uint8_t reg);
};
