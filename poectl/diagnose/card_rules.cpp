// What is wrong with the whole card.
#include "poectl/diagnose/card_facts.h"
#include "poectl/diagnose/port_power.h"
#include "poectl/diagnose/rules.h"
#include "text/text.h"

#include <iterator>

namespace {

// What follows other evidence: the lines of the log, when there are any.
Evidence logged(const CardLooks& looks, LogEvent event, unsigned LogCount::*number = &LogCount::total) {
  return looks.log.of(event).*number == 0 ? "" : "; " + looks.log.quote(event);
}

Evidence serviceIsGone(const CardLooks& looks) {
  if (looks.console != ConsoleState::CLOSED || looks.configuration.isServed()) {
    return "";
  }
  return looks.consoleProblem + "; /queueToPoe " + looks.configuration.text() +
         logged(looks, LogEvent::NO_QUEUE) + logged(looks, LogEvent::RECEIVE_ENDED);
}

Evidence consoleIsMissing(const CardLooks& looks) {
  if (looks.console != ConsoleState::CLOSED || !looks.configuration.isServed()) {
    return "";
  }
  return looks.consoleProblem + "; /queueToPoe " + looks.configuration.text() +
         logged(looks, LogEvent::NO_CONSOLE);
}

Evidence consoleIsForeign(const CardLooks& looks) {
  return looks.console == ConsoleState::FOREIGN ? looks.consoleProblem : "";
}

Evidence consoleIsSilent(const CardLooks& looks) {
  return looks.console == ConsoleState::SILENT ? looks.consoleProblem : "";
}

Evidence driverIsMissing(const CardLooks& looks) {
  return hasNoDriver(looks) ? lastChannel(looks, 0).command + ": no line " + text::quoted(ChannelLine::ENABLE)
                            : "";
}

Evidence chipIsUnreachable(const CardLooks& looks) {
  if (!lastDevice(looks).is(DeviceLine::DEV_ERROR, true) ||
      !firstDevice(looks).is(DeviceLine::DEV_ERROR, true) || grownErrors(looks) != 0) {
    return "";
  }
  return lastDevice(looks).quote(DeviceLine::DEV_ERROR) + " in every look" +
         logged(looks, LogEvent::NO_ADAPTER) + logged(looks, LogEvent::NO_ADDRESS) +
         logged(looks, LogEvent::BUS_ERROR);
}

Evidence busErrorsGrow(const CardLooks& looks) {
  if (!isBusFailing(looks) || !chipIsUnreachable(looks).empty()) {
    return "";
  }
  return firstDevice(looks).quote(DeviceLine::BUS_ERRORS) + ", some seconds later " +
         lastDevice(looks).text(DeviceLine::BUS_ERRORS) +
         logged(looks, LogEvent::BUS_ERROR, &LogCount::recent);
}

// Each of them made the service set up the chip.
bool hadManyBusErrors(const CardLooks& looks) {
  return busErrors(looks) >= MANY_EPISODES && !isBusFailing(looks);
}

// Followed by the limit of bank 7 that was read later.
Evidence quoteMarker(const CardLooks& looks) {
  return looks.bus->info.quote(InfoLine::bankRegister(POE_BANKS - 1)) + ", some seconds later ";
}

Evidence bank7HasALimit(const CardLooks& looks) {
  const bool hasLimit = looks.bus && looks.bus->marker.value_or(0) != 0;
  return hasLimit ? quoteMarker(looks) + std::to_string(*looks.bus->marker) : "";
}

Evidence chipIsSetUpAgain(const CardLooks& looks) {
  const LogCount& count = looks.log.of(LogEvent::SET_UP_AGAIN);
  if (isBusFailing(looks) || !bank7HasALimit(looks).empty()) {
    return "";
  }
  if (count.recent != 0 || (count.total >= MANY_EPISODES && !hadManyBusErrors(looks))) {
    return looks.log.quote(LogEvent::SET_UP_AGAIN);
  }
  const bool hadPowerOnValue = looks.bus && looks.bus->marker == std::optional<std::uint32_t>(0);
  return hadPowerOnValue ? quoteMarker(looks) + "0" : "";
}

Evidence supplyIsLow(const CardLooks& looks) {
  return isSupplyLow(looks) ? looks.bus->info.quote(InfoLine::MAIN_VOLTAGE) + ", " +
                                  looks.bus->info.line(InfoLine::MIN_SHUTDOWN_VOLTAGE)
                            : "";
}

Evidence chipIsHot(const CardLooks& looks) {
  const SeenReport<DeviceReport>& device = lastDevice(looks);
  return device.is(DeviceLine::THERMAL_SHUTDOWN, true)
             ? device.quote(DeviceLine::THERMAL_SHUTDOWN) + ", " + device.line(DeviceLine::TEMPERATURE)
             : "";
}

Evidence engineIsIdle(const CardLooks& looks) {
  if (!looks.bus || !looks.bus->info.is(InfoLine::STATE, "IDLE")) {
    return "";
  }
  return looks.bus->info.quote(InfoLine::STATE) + logged(looks, LogEvent::NO_ENGINE);
}

Evidence watchdogIsLate(const CardLooks& looks) {
  if (looks.log.of(LogEvent::NOT_FED).recent != 0) {
    return looks.log.quote(LogEvent::NOT_FED);
  }
  if (!looks.bus || !looks.bus->info.is(InfoLine::WATCHDOG, "LATE")) {
    return "";
  }
  return looks.bus->info.quote(InfoLine::WATCHDOG) + ", " + looks.bus->info.line(InfoLine::LAST_FED);
}

Evidence mainProcessIsMissing(const CardLooks& looks) {
  const bool isServiceUp = looks.console == ConsoleState::REPORTS;
  if (!isServiceUp || looks.status.exists) {
    return "";
  }
  return "/queueToMain " + looks.status.text() + logged(looks, LogEvent::NO_STATUS_QUEUE);
}

Evidence statusIsUnread(const CardLooks& looks) {
  const Evidence lines = logged(looks, LogEvent::STATUS_NOT_SENT, &LogCount::recent);
  const bool isFull = looks.statusFirst.isFull() && looks.status.isFull();
  const bool isOrphan = looks.status.exists && !looks.status.isServed() && looks.status.readers.doubt.empty();
  const bool isUnread = !lines.empty() || isFull || isOrphan;
  return isUnread ? "/queueToMain " + looks.status.text() + lines : "";
}

Evidence nothingIsConfigured(const CardLooks& looks) {
  const bool isKnown = looks.bus && looks.bus->info.values && isEnabled(looks, 0);
  const decltype(InfoReport::bankRegisters) noLimits{};
  if (!isKnown || anyEnabled(looks) || looks.bus->info.values->bankRegisters != noLimits) {
    return "";
  }
  return looks.bus->port(0).quote(PoePortLine::ENABLE) + ", so are all ports, and all banks have the limit 0";
}

Evidence limitsExceedTheBank(const CardLooks& looks) {
  Evidence ports;
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if (isRestartedByLimits(looks, port)) {
      ports += (ports.empty() ? "port " : ", port ") + std::to_string(port) + " (" +
               looks.bus->port(port).text(PoePortLine::LIMIT) + " W)";
    }
  }
  if (ports.empty()) {
    const bool isLogged = looks.log.of(LogEvent::AUDIT_RESTART).recent != 0;
    return isLogged ? looks.log.quote(LogEvent::AUDIT_RESTART) : "";
  }
  return looks.bus->info.quote(InfoLine::BANK_LIMIT) + " has no room for the limit of " + ports +
         logged(looks, LogEvent::AUDIT_RESTART, &LogCount::recent);
}

Evidence priorityIsWrong(const CardLooks& looks) {
  return looks.log.of(LogEvent::BAD_PRIORITY).total != 0 ? looks.log.quote(LogEvent::BAD_PRIORITY) : "";
}

constexpr CardRule CARD_RULES[] = {
    {"no-service", "The service does not run.", serviceIsGone,
     "Start it: 'systemctl start poe-service'. A start costs every port its power until the main process has "
     "sent its configuration. If it ends again, the log's last lines say why."},
    {"no-console", "The service runs without its console.", consoleIsMissing,
     "Another program had port 10001 when the service started. End that program ('ss -ltnp' names it) and "
     "restart the service; the restart costs every port its power for a moment."},
    {"foreign-console", "Another program than the service answers on port 10001.", consoleIsForeign,
     "'ss -ltnp' names the program. End it; then restart the service, which costs every port its power for a "
     "moment."},
    {"console-silent", "The console does not answer: the service hangs, or another program has port 10001.",
     consoleIsSilent,
     "Check that the log reader reads /dev/log ('ss -xa') and that the bus does not hang. The last resort is "
     "to restart the service, which costs every port its power for a moment."},
    {"no-driver", "The service had no memory for its driver.", driverIsMissing,
     "Free memory and restart the service; the restart costs no port power that it has not lost already."},
    {"chip-unreachable", "The chip does not answer: no port can be switched or watched.", chipIsUnreachable,
     "Check the chip's power and the adapter: 'ls /dev/i2c-0', the kernel's log. Powered ports stay powered. "
     "'No such file' or 'busy' in the log need a restart of the service after the repair. Otherwise the "
     "service sets the chip up by itself, and every port is without power for a moment."},
    {"bus-errors", "Transfers on the chip's bus fail; each failure costs every port its power for a moment.",
     busErrorsGrow,
     "Make no transfers: no 'info', 'poeport', 'i2cget'. Check the bus: other programs on the adapter, the "
     "kernel's log, plugs and supply of the chip. A restart of the service does not help."},
    {"bank-7",
     "Bank 7 has a limit, so the service sets up the chip in every cycle and all ports go off and on.",
     bank7HasALimit,
     "Set bankPowerLimit[7] to 0 in the main process's configuration; if it is 0 there, a program beside the "
     "service has written register 0x90. The next cycle then leaves the ports on."},
    {"set-up-again", "The service sets up the chip again and again although transfers succeed.",
     chipIsSetUpAgain,
     "The chip loses its registers: check its supply. If bank 7 has a limit in the configuration, set it to "
     "0."},
    {"supply-low", "The supply is below the minimum shutdown voltage, so the chip powers no port.",
     supplyIsLow,
     "Repair the supply of the ports (the 48 V input). Neither service nor main process need a restart: the "
     "ports come back by themselves."},
    {"thermal-shutdown", "The chip is too hot and has switched off its ports.", chipIsHot,
     "Cool the card: fans, air flow, load of the ports. The ports come back by themselves."},
    {"engine-idle", "The engine is IDLE: it drops configurations and sends no status.", engineIsIdle,
     "Restart the service. This costs every port its power for a moment."},
    {"watchdog-late", "A thread of the service has not run for 60 s.", watchdogIsLate,
     "A transfer hangs, or the log reader does not read /dev/log. Under systemd the service is restarted by "
     "itself, which costs every port its power for a moment."},
    {"no-main-process", "There is no /queueToMain, so no main process runs and nobody gets a status.",
     mainProcessIsMissing, "Start the main process. No port loses power by it."},
    {"status-unread", "Nobody reads the status messages on /queueToMain.", statusIsUnread,
     "Check why the main process does not read its queue. If it has ended, start it again, before that "
     "'poectl clean'. The ports keep their power, but the service reacts more slowly while the queue is "
     "full."},
    {"not-configured", "No configuration has come since the service started, so all ports are off.",
     nothingIsConfigured,
     "Let the main process send its configuration again, usually by restarting the main process. On a bench: "
     "'poectl apply FILE'. A port that has no power loses none."},
    {"limits-above-bank", "The limits do not fit into the bank, so the service switches ports off and on.",
     limitsExceedTheBank,
     "Lower the limits or raise the bank's limit in the main process's configuration. 'poectl explain FILE "
     "--status' shows the shares. Ports that fit keep their power."},
    {"bad-priority",
     "A configuration gives a port a priority other than 1 to 3, so the port is never served.",
     priorityIsWrong,
     "Correct the priority in the main process's configuration. Without room in the bank, the port loses its "
     "power again and again; the correction costs no port its power."},
};

} // namespace

std::vector<CardRule> cardRules() {
  return {std::begin(CARD_RULES), std::end(CARD_RULES)};
}
