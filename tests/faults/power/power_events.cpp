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

// ---- the service ends and starts ----

unsigned endsInOrder(PowerScene& scene, unsigned /*transfer*/) {
  scene.run(configured(scene) + Steps{[&] { scene.card.startWatch(); }});
  scene.card.pause(seconds(WINDOW));
  return 0;
}

unsigned killedInACycle(PowerScene& scene, unsigned transfer) {
  unsigned transfers = 0;
  const auto kill = [&] {
    scene.card.startWatch();
    scene.card.killServiceBefore(transfer);
  };
  scene.run(configured(scene) + Steps{kill, [&] { transfers = scene.card.transfers(); }});
  scene.card.pause(seconds(WINDOW));
  return transfers;
}

void restart(PowerScene& scene) {
  scene.card.letServiceRun();
  scene.card.pause(RESTART_PAUSE);
  scene.run(configured(scene) + pauses(WINDOW));
}

unsigned restartedAfterAKill(PowerScene& scene, unsigned transfer) {
  const unsigned transfers = killedInACycle(scene, transfer);
  scene.card.startWatch();
  restart(scene);
  return transfers;
}

unsigned startedAndConfigured(PowerScene& scene, unsigned /*transfer*/) {
  scene.run(configured(scene));
  scene.card.startWatch();
  scene.run(configured(scene) + pauses(WINDOW));
  return 0;
}

unsigned startedWithoutConfiguration(PowerScene& scene, unsigned /*transfer*/) {
  scene.run(configured(scene));
  scene.card.startWatch();
  scene.run(pauses(WINDOW));
  return 0;
}

unsigned killedInItsStart(PowerScene& scene, unsigned transfer) {
  scene.run(configured(scene));
  scene.card.startWatch();
  scene.card.killServiceBefore(transfer);
  unsigned transfers = 0;
  scene.run({[&] { transfers = scene.card.transfers(); }});
  restart(scene);
  return transfers;
}

unsigned killedInItsFirstConfiguration(PowerScene& scene, unsigned transfer) {
  scene.run(configured(scene));
  unsigned transfers = 0;
  const auto sendAndKill = [&] {
    scene.card.startWatch();
    scene.card.killServiceBefore(transfer);
    scene.send(threePorts());
    transfers = scene.card.transfers();
  };
  scene.run({sendAndKill});
  restart(scene);
  return transfers;
}

// ---- the bus and the chip ----

unsigned transferOfACycleFails(PowerScene& scene, unsigned transfer) {
  unsigned transfers = 0;
  const auto fail = [&] {
    scene.card.startWatch();
    scene.card.failTransfer(transfer);
  };
  const auto count = [&] { transfers = scene.card.transfers(); };
  scene.run(configured(scene) + Steps{fail, count} + pauses(WINDOW));
  return transfers;
}

unsigned transferOfTheStartFails(PowerScene& scene, unsigned transfer) {
  scene.run(configured(scene));
  scene.card.startWatch();
  scene.card.failTransfer(transfer);
  unsigned transfers = 0;
  const auto countAndSend = [&] {
    transfers = scene.card.transfers();
    scene.send(threePorts());
  };
  scene.run(Steps{countAndSend} + pauses(WINDOW));
  return transfers;
}

// Sends a configuration one of whose transfers fails; returns how many it has.
unsigned sendFailing(PowerScene& scene, const PoeConfig& config, unsigned transfer) {
  scene.card.startWatch();
  scene.card.failTransfer(transfer);
  scene.send(config);
  return scene.card.transfers();
}

unsigned transferOfTheFirstConfigurationFails(PowerScene& scene, unsigned transfer) {
  unsigned transfers = 0;
  const auto send = [&] { transfers = sendFailing(scene, threePorts(), transfer); };
  scene.run(Steps{send} + pauses(WINDOW));
  return transfers;
}

unsigned transferOfAChangeFails(PowerScene& scene, unsigned transfer) {
  PoeConfig changed = threePorts();
  changed.port[1].powerLimit = 12000;
  unsigned transfers = 0;
  const auto send = [&] { transfers = sendFailing(scene, changed, transfer); };
  scene.run(configured(scene) + Steps{send} + pauses(WINDOW));
  return transfers;
}

unsigned transferOfARecoveryFails(PowerScene& scene, unsigned transfer) {
  unsigned transfers = 0;
  const auto powerCycle = [&] {
    scene.card.startWatch();
    scene.card.failTransfer(transfer);
    scene.card.change([](ChipModel& chip) { chip.powerCycle(); });
  };
  const auto count = [&] { transfers = scene.card.transfers(); };
  scene.run(configured(scene) + Steps{powerCycle, count} + pauses(WINDOW));
  return transfers;
}

unsigned transferOfAReportFails(PowerScene& scene, unsigned transfer) {
  unsigned transfers = 0;
  const auto ask = [&] {
    scene.card.startWatch();
    scene.card.failTransfer(transfer);
    scene.ask({"poeport", "1"});
    transfers = scene.card.transfers();
  };
  scene.run(configured(scene) + Steps{ask} + pauses(WINDOW));
  return transfers;
}

using CardStep = std::function<void(SteppedCard& card)>;

// The one happens to the card; ten seconds later the other does.
std::function<unsigned(PowerScene&, unsigned)> forTenSeconds(const CardStep& begin, const CardStep& end) {
  return [=](PowerScene& scene, unsigned /*transfer*/) {
    const auto first = [&] {
      scene.card.startWatch();
      begin(scene.card);
    };
    const auto last = [&] { end(scene.card); };
    scene.run(configured(scene) + Steps{first} + pauses(9) + Steps{last} + pauses(WINDOW));
    return 0U;
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

unsigned firstConfiguration(PowerScene& scene, unsigned /*transfer*/) {
  transferOfTheFirstConfigurationFails(scene, 0);
  return 0;
}

// The configuration of the scene, changed, is sent to the service that runs with it.
std::function<unsigned(PowerScene&, unsigned)>
configurationChanges(const std::function<void(PoeConfig& config)>& change) {
  return [=](PowerScene& scene, unsigned /*transfer*/) {
    PoeConfig config = threePorts();
    change(config);
    const auto send = [&] { sendFailing(scene, config, 0); };
    scene.run(configured(scene) + Steps{send} + pauses(WINDOW));
    return 0U;
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
