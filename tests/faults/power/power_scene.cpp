#include "tests/faults/power/power_scene.h"

#include "tests/support/doubles/log_capture.h"
#include "tests/support/doubles/platform_doubles.h"

namespace {

constexpr std::chrono::milliseconds HALF_A_PAUSE{500};

} // namespace

PowerScene::PowerScene(unsigned transferOfTheEvent) : transfer(transferOfTheEvent) {
  using Signature = ChipModel::Signature;
  card.change([](ChipModel& chip) {
    chip.plug(0, {Signature::Good, 4, 22.0});
    chip.plug(1, {Signature::Good, 2, 6.0});
    chip.plug(2, {Signature::Good, 2, 6.0});
    chip.plug(3, {Signature::Good, 1, 3.0});
  });
}

PowerScene::~PowerScene() {
  onSleep({});
}

void PowerScene::run(const Steps& steps) {
  m_cycle = 0;
  m_engine = std::make_unique<CPD69104Engine>();
  m_engine->start();
  onSleep([&](double /*seconds*/) { pauseOf(steps); });
  m_posix.runThread();
  m_engine.reset();
  forgetWords();
}

void PowerScene::send(const PoeConfig& config) {
  m_engine->handleConfig(&config, sizeof config);
}

void PowerScene::ask(const std::vector<const char*>& command) {
  char reply[8192];
  m_engine->dbgCommand(static_cast<std::uint32_t>(command.size()), command.data(), reply, sizeof reply);
}

void PowerScene::pauseOf(const Steps& steps) {
  if (!card.isServiceKilled()) {
    card.pause(HALF_A_PAUSE);
    steps.at(m_cycle++)();
  }
  if (!card.isServiceKilled()) {
    card.pause(HALF_A_PAUSE);
  }
  if (card.isServiceKilled() || m_cycle == steps.size()) {
    m_engine->stop();
  }
  forgetWords();
}

// What the doubles keep of log, bus and queue is not looked at here.
void PowerScene::forgetWords() {
  takeLog();
  takeWatchdogEvents();
  m_bus.takeTransfers();
  m_posix.calls.clear();
  m_posix.messages.clear();
}
