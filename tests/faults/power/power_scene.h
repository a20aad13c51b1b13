// A card with devices, and the service on it, one run after the other. The worker runs on the calling
// thread; the pauses between its cycles are stepped.
//
// Each port has a device; those of ports 0, 1 and 2 draw 34 W together. One scene at a time.
#pragma once

#include "components/PoeDriver/pd69104_engine.h"
#include "tests/faults/power/stepped_card.h"
#include "tests/support/doubles/posix_doubles.h"

#include <functional>
#include <memory>
#include <vector>

class PowerScene {
public:
  using Step = std::function<void()>;
  using Steps = std::vector<Step>;

  explicit PowerScene(unsigned transferOfTheEvent);
  ~PowerScene();
  PowerScene(const PowerScene&) = delete;
  PowerScene& operator=(const PowerScene&) = delete;

  // A run of the service: its start, and a cycle for each step, which is taken in the middle of the pause
  // after its cycle. It ends in order after the last pause, or where the card kills it.
  void run(const Steps& steps);

  // The main process sends a configuration to the running service.
  void send(const PoeConfig& config);

  // The console asks the running service.
  void ask(const std::vector<const char*>& command);

  const unsigned transfer; // the one at which the event strikes; 0: at none
  unsigned transfers = 0;  // how many there are; 0 for an event that strikes at no transfer
  SteppedCard card;

private:
  void pauseOf(const Steps& steps);
  void forgetWords();

  I2cBus m_bus{card};
  PosixDoubles m_posix;
  std::unique_ptr<CPD69104Engine> m_engine;
  std::size_t m_cycle = 0;
};
