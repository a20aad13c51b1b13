#include "tests/faults/power/power_events.h"

#include "tests/faults/power/three_ports.h"

namespace {

using std::chrono::seconds;
using Steps = PowerScene::Steps;

constexpr unsigned WINDOW = 10; // cycles, or seconds without a service, that are looked at after an event
constexpr seconds RESTART_PAUSE{1};

Steps pauses(unsigned cycles) {
  return Steps(cycles, [] {});
}

Steps operator+(Steps first, const Steps& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// The main process sends the configuration after the first cycle; then the ports have time to get their
// power.
Steps configured(PowerScene& scene) {
  return Steps{[&scene] { scene.send(threePorts()); }} + pauses(4);
}

// The service is about to be killed, or a transfer to fail, where the scene says so.
void beginKill(PowerScene& scene) {
  scene.card.startWatch();
  scene.card.killServiceBefore(scene.transfer);
}

void beginFailure(PowerScene& scene) {
  scene.card.startWatch();
  scene.card.failTransfer(scene.transfer);
}

// The operation at whose transfers the event strikes ends here.
void endOperation(PowerScene& scene) {
  scene.transfers = scene.card.transfers();
}

// ---- the service ends and starts ----

void endsInOrder(PowerScene& scene) {
  scene.run(configured(scene) + Steps{[&] { scene.card.startWatch(); }});
  scene.card.pause(seconds(WINDOW));
}

void killedInACycle(PowerScene& scene) {
  scene.run(configured(scene) + Steps{[&] { beginKill(scene); }, [&] { endOperation(scene); }});
  scene.card.pause(seconds(WINDOW));
}

void restart(PowerScene& scene) {
  scene.card.letServiceRun();
  scene.card.pause(RESTART_PAUSE);
  scene.run(configured(scene) + pauses(WINDOW));
}

void restartedAfterAKill(PowerScene& scene) {
  killedInACycle(scene);
  scene.card.startWatch();
  restart(scene);
}

void startedAndConfigured(PowerScene& scene) {
  scene.run(configured(scene));
  scene.card.startWatch();
  scene.run(configured(scene) + pauses(WINDOW));
}

void startedWithoutConfiguration(PowerScene& scene) {
  scene.run(configured(scene));
  scene.card.startWatch();
  scene.run(pauses(WINDOW));
}

void killedInItsStart(PowerScene& scene) {
  scene.run(configured(scene));
  beginKill(scene);
  scene.run({[&] { endOperation(scene); }});
  restart(scene);
}

void killedInItsFirstConfiguration(PowerScene& scene) {
  scene.run(configured(scene));
  scene.run({[&] {
    beginKill(scene);
    scene.send(threePorts());
    endOperation(scene);
  }});
  restart(scene);
}

// ---- the bus and the chip ----

void transferOfACycleFails(PowerScene& scene) {
  scene.run(configured(scene) + Steps{[&] { beginFailure(scene); }, [&] { endOperation(scene); }} +
            pauses(WINDOW));
}

void transferOfTheStartFails(PowerScene& scene) {
  scene.run(configured(scene));
  beginFailure(scene);
  const auto countAndSend = [&] {
    endOperation(scene);
    scene.send(threePorts());
  };
  scene.run(Steps{countAndSend} + pauses(WINDOW));
}

// Sends a configuration one of whose transfers may fail.
void sendFailing(PowerScene& scene, const PoeConfig& config) {
  beginFailure(scene);
  scene.send(config);
  endOperation(scene);
}

void transferOfTheFirstConfigurationFails(PowerScene& scene) {
  scene.run(Steps{[&] { sendFailing(scene, threePorts()); }} + pauses(WINDOW));
}

void transferOfAChangeFails(PowerScene& scene) {
  PoeConfig changed = threePorts();
  changed.port[1].powerLimit = 12000;
  scene.run(configured(scene) + Steps{[&] { sendFailing(scene, changed); }} + pauses(WINDOW));
}

void transferOfARecoveryFails(PowerScene& scene) {
  const auto powerCycle = [&] {
    beginFailure(scene);
    scene.card.change([](ChipModel& chip) { chip.powerCycle(); });
  };
  scene.run(configured(scene) + Steps{powerCycle, [&] { endOperation(scene); }} + pauses(WINDOW));
}

void transferOfAReportFails(PowerScene& scene) {
  const auto ask = [&] {
    beginFailure(scene);
    scene.ask({"poeport", "1"});
    endOperation(scene);
  };
  scene.run(configured(scene) + Steps{ask} + pauses(WINDOW));
}

using CardStep = std::function<void(SteppedCard& card)>;

// The one happens to the card; ten seconds later the other does.
std::function<void(PowerScene&)> forTenSeconds(const CardStep& begin, const CardStep& end) {
  return [=](PowerScene& scene) {
    const auto first = [&] {
      scene.card.startWatch();
      begin(scene.card);
    };
    const auto last = [&] { end(scene.card); };
    scene.run(configured(scene) + Steps{first} + pauses(9) + Steps{last} + pauses(WINDOW));
  };
}

void stay(SteppedCard& /*card*/) {}
void breakBus(SteppedCard& card) {
  card.setBusDead(true);
}
void mendBus(SteppedCard& card) {
  card.setBusDead(false);
}
void takeChipOffTheBus(SteppedCard& card) {
  card.change([](ChipModel& chip) { chip.setPresent(false); });
}
void putChipOnTheBus(SteppedCard& card) {
  card.change([](ChipModel& chip) { chip.setPresent(true); });
}
void powerCycleChip(SteppedCard& card) {
  card.change([](ChipModel& chip) { chip.powerCycle(); });
}
void switchChipOff(SteppedCard& card) {
  powerCycleChip(card);
  takeChipOffTheBus(card);
}

// ---- configurations ----

void firstConfiguration(PowerScene& scene) {
  const auto send = [&] {
    scene.card.startWatch();
    scene.send(threePorts());
  };
  scene.run(Steps{send} + pauses(WINDOW));
}

// The configuration of the scene, changed, is sent to the service that runs with it.
std::function<void(PowerScene&)> configurationChanges(const std::function<void(PoeConfig& config)>& change) {
  return [=](PowerScene& scene) {
    const auto send = [&] {
      PoeConfig config = threePorts();
      change(config);
      scene.card.startWatch();
      scene.send(config);
    };
    scene.run(configured(scene) + Steps{send} + pauses(WINDOW));
  };
}

std::vector<PowerEvent> serviceEvents() {
  return {
      {"the service ends in order", endsInOrder},
      {"the service is killed in a cycle (SIGTERM, SIGKILL)", killedInACycle},
      {"the service is killed in a cycle, starts again and is configured", restartedAfterAKill},
      {"the service starts on a card that runs, and is configured", startedAndConfigured},
      {"the service starts on a card that runs, and is not configured", startedWithoutConfiguration},
      {"the service is killed while it starts, starts again and is configured", killedInItsStart},
      {"the service is killed in its first configuration, starts again and is configured",
       killedInItsFirstConfiguration},
  };
}

std::vector<PowerEvent> busEvents() {
  return {
      {"one transfer of a cycle fails", transferOfACycleFails},
      {"one transfer of a start on a card that runs fails", transferOfTheStartFails},
      {"one transfer of a first configuration fails", transferOfTheFirstConfigurationFails},
      {"one transfer of a changed configuration fails", transferOfAChangeFails},
      {"one transfer of the recovery after a power cycle of the chip fails", transferOfARecoveryFails},
      {"one transfer of a report on the console fails", transferOfAReportFails},
      {"all transfers fail for 10 s", forTenSeconds(breakBus, mendBus)},
      {"all transfers fail from now on", forTenSeconds(breakBus, stay)},
      {"the chip does not answer for 10 s, but keeps its registers",
       forTenSeconds(takeChipOffTheBus, putChipOnTheBus)},
      {"the chip loses its power for a moment", forTenSeconds(powerCycleChip, stay)},
      {"the chip is without power for 10 s", forTenSeconds(switchChipOff, putChipOnTheBus)},
  };
}

std::vector<PowerEvent> configurationEvents() {
  const auto with = configurationChanges;
  return {
      {"first configuration of a card without power", firstConfiguration},
      {"the same configuration again", with([](PoeConfig& /*config*/) {})},
      {"port 1: another priority", with([](PoeConfig& config) { config.port[1].priority = 3; })},
      {"port 1: a lower limit, above what it draws",
       with([](PoeConfig& config) { config.port[1].powerLimit = 7000; })},
      {"port 1: a limit below what it draws",
       with([](PoeConfig& config) { config.port[1].powerLimit = 5000; })},
      {"port 1: switched off", with([](PoeConfig& config) { config.port[1].adminEnable = 0; })},
      {"port 3: switched on, and all fit", with([](PoeConfig& config) {
         config.port[3] = {1, {}, 1, 15000, {}};
       })},
      {"port 3, which is off: another priority and limit", with([](PoeConfig& config) {
         config.port[3] = {0, {}, 1, 15000, {}};
       })},
      {"port 3: switched on with priority 1, so that port 2 no longer fits", with([](PoeConfig& config) {
         config.port[3] = {1, {}, 1, 50000, {}};
       })},
      {"port 3, which is off: a limit with which the sum exceeds the bank's", with([](PoeConfig& config) {
         config.port[3] = {0, {}, 1, 50000, {}};
       })},
      {"port 0: a higher limit, so that port 2 no longer fits",
       with([](PoeConfig& config) { config.port[0].powerLimit = 75000; })},
      {"bank: a lower limit, above what is drawn, with which ports 1 and 2 no longer fit",
       with([](PoeConfig& config) { config.bankPowerLimit[0] = 40; })},
      {"bank: a limit below what is drawn", with([](PoeConfig& config) { config.bankPowerLimit[0] = 30; })},
      {"bank 7, which marks a chip that is not set up: a limit",
       with([](PoeConfig& config) { config.bankPowerLimit[7] = 50; })},
  };
}

} // namespace

std::vector<PowerEvent> powerEvents() {
  std::vector<PowerEvent> events = serviceEvents();
  for (const auto& more : {busEvents(), configurationEvents()}) {
    events.insert(events.end(), more.begin(), more.end());
  }
  return events;
}
