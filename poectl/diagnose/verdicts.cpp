#include "poectl/diagnose/verdicts.h"

#include "poectl/diagnose/card_facts.h"
#include "poectl/diagnose/port_power.h"
#include "text/text.h"

#include <algorithm>

namespace {

// Each condition returns its evidence; empty: it is not met.
using Evidence = std::string;

constexpr unsigned MANY_EPISODES = 3; // of failed transfers since the start: no accident any more

Evidence serviceIsGone(const CardLooks& looks) {
  if (looks.console != ConsoleState::CLOSED || looks.configuration.isServed()) {
    return "";
  }
  Evidence evidence = looks.consoleProblem + "; /queueToPoe " + looks.configuration.text();
  for (const LogEvent event : {LogEvent::NO_QUEUE, LogEvent::RECEIVE_ENDED}) {
    evidence += looks.log.of(event).total == 0 ? "" : "; " + looks.log.quote(event);
  }
  return evidence;
}

Evidence consoleIsMissing(const CardLooks& looks) {
  if (looks.console != ConsoleState::CLOSED || !looks.configuration.isServed()) {
    return "";
  }
  const bool isLogged = looks.log.of(LogEvent::NO_CONSOLE).total != 0;
  return looks.consoleProblem + "; /queueToPoe " + looks.configuration.text() +
         (isLogged ? "; " + looks.log.quote(LogEvent::NO_CONSOLE) : "");
}

Evidence consoleIsForeign(const CardLooks& looks) {
  return looks.console == ConsoleState::FOREIGN ? looks.consoleProblem : "";
}

Evidence consoleIsSilent(const CardLooks& looks) {
  return looks.console == ConsoleState::SILENT ? looks.consoleProblem : "";
}

Evidence driverIsMissing(const CardLooks& looks) {
  const bool isMissing = !looks.free.empty() && looks.free.back().channel[0].empty();
  return isMissing ? "channel 0: no line 'enable'" : "";
}

Evidence chipIsUnreachable(const CardLooks& looks) {
  if (!lastDevice(looks).isTrue("dev_error") || !firstDevice(looks).isTrue("dev_error") ||
      grownErrors(looks) != 0) {
    return "";
  }
  Evidence evidence = lastDevice(looks).quote("dev_error") + " in every look";
  for (const LogEvent event : {LogEvent::NO_ADAPTER, LogEvent::NO_ADDRESS, LogEvent::BUS_ERROR}) {
    evidence += looks.log.of(event).total == 0 ? "" : "; " + looks.log.quote(event);
  }
  return evidence;
}

Evidence busErrorsGrow(const CardLooks& looks) {
  if (!isBusFailing(looks) || !chipIsUnreachable(looks).empty()) {
    return "";
  }
  Evidence evidence = firstDevice(looks).quote("device errorcount") + ", some seconds later " +
                      lastDevice(looks).text("device errorcount");
  const bool isLogged = looks.log.of(LogEvent::BUS_ERROR).recent != 0;
  return isLogged ? evidence + "; " + looks.log.quote(LogEvent::BUS_ERROR) : evidence;
}

Evidence busErrorsAreMany(const CardLooks& looks) {
  const bool many = lastDevice(looks).number("device errorcount").value_or(0) >= MANY_EPISODES;
  return many && !isBusFailing(looks) ? lastDevice(looks).quote("device errorcount") : "";
}

Evidence bank7HasALimit(const CardLooks& looks) {
  const bool hasLimit = looks.bus && looks.bus->info.number("- power_limit[7]").value_or(0) != 0;
  return hasLimit ? looks.bus->info.quote("- power_limit[7]") : "";
}

Evidence chipIsSetUpAgain(const CardLooks& looks) {
  const LogCount& count = looks.log.of(LogEvent::SET_UP_AGAIN);
  const bool isExplained = isBusFailing(looks) || !bank7HasALimit(looks).empty();
  const bool isFound = count.recent != 0 || (count.total >= MANY_EPISODES && busErrorsAreMany(looks).empty());
  return isFound && !isExplained ? looks.log.quote(LogEvent::SET_UP_AGAIN) : "";
}

Evidence supplyIsLow(const CardLooks& looks) {
  return isSupplyLow(looks) ? looks.bus->info.quote("main voltage (V)") +
                                  ", min_shutdown_voltage = " + looks.bus->info.text("min_shutdown_voltage")
                            : "";
}

Evidence chipIsHot(const CardLooks& looks) {
  const ReportLines& device = lastDevice(looks);
  return device.isTrue("thermal shutdown")
             ? device.quote("thermal shutdown") + ", temperature = " + device.text("temperature")
             : "";
}

Evidence engineIsIdle(const CardLooks& looks) {
  if (!looks.bus || !looks.bus->info.is("m_state", "IDLE")) {
    return "";
  }
  const bool isLogged = looks.log.of(LogEvent::NO_ENGINE).total != 0;
  return looks.bus->info.quote("m_state") + (isLogged ? "; " + looks.log.quote(LogEvent::NO_ENGINE) : "");
}

Evidence watchdogIsLate(const CardLooks& looks) {
  if (looks.log.of(LogEvent::NOT_FED).recent != 0) {
    return looks.log.quote(LogEvent::NOT_FED);
  }
  if (!looks.bus || !looks.bus->info.is("state", "LATE")) {
    return "";
  }
  return looks.bus->info.quote("state") +
         ", last fed (ms ago) = " + looks.bus->info.text("last fed (ms ago)");
}

Evidence mainProcessIsMissing(const CardLooks& looks) {
  const bool isServiceUp = looks.console == ConsoleState::REPORTS;
  if (!isServiceUp || looks.status.exists) {
    return "";
  }
  const bool isLogged = looks.log.of(LogEvent::NO_STATUS_QUEUE).total != 0;
  return "/queueToMain " + looks.status.text() +
         (isLogged ? "; " + looks.log.quote(LogEvent::NO_STATUS_QUEUE) : "");
}

Evidence statusIsUnread(const CardLooks& looks) {
  const bool isLogged = looks.log.of(LogEvent::STATUS_NOT_SENT).recent != 0;
  const bool isFull = looks.statusFirst.isFull() && looks.status.isFull();
  const bool isOrphan = looks.status.exists && !looks.status.isServed() && looks.status.readers.doubt.empty();
  if (!isLogged && !isFull && !isOrphan) {
    return "";
  }
  return "/queueToMain " + looks.status.text() +
         (isLogged ? "; " + looks.log.quote(LogEvent::STATUS_NOT_SENT) : "");
}

Evidence nothingIsConfigured(const CardLooks& looks) {
  if (!looks.bus || anyEnabled(looks) || !looks.bus->port(0).has("admin enable")) {
    return "";
  }
  for (unsigned bank = 0; bank < POE_BANKS; bank++) {
    if (!looks.bus->info.is("- power_limit[" + std::to_string(bank) + "]", "0")) {
      return "";
    }
  }
  return looks.bus->port(0).quote("admin enable") + ", so are all ports, and all banks have the limit 0";
}

Evidence limitsExceedTheBank(const CardLooks& looks) {
  Evidence ports;
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if (isRestartedByLimits(looks, port)) {
      ports += (ports.empty() ? "port " : ", port ") + std::to_string(port) + " (" +
               looks.bus->port(port).text("port power limit (W)") + " W)";
    }
  }
  const bool isLogged = looks.log.of(LogEvent::AUDIT_RESTART).recent != 0;
  if (ports.empty() && !isLogged) {
    return "";
  }
  Evidence evidence;
  if (!ports.empty()) {
    evidence = looks.bus->info.quote("power_limit (this bank)") + " has no room for the limit of " + ports;
  }
  return evidence + (ports.empty() || !isLogged ? "" : "; ") +
         (isLogged ? looks.log.quote(LogEvent::AUDIT_RESTART) : "");
}

Evidence priorityIsWrong(const CardLooks& looks) {
  return looks.log.of(LogEvent::BAD_PRIORITY).total != 0 ? looks.log.quote(LogEvent::BAD_PRIORITY) : "";
}

struct CardRule {
  const char* name;
  const char* words;
  Evidence (*evidence)(const CardLooks& looks); // the condition; empty: not met
  const char* remedy;
};

constexpr CardRule CARD_RULES[] = {
    {"no-service", "The service does not run.", serviceIsGone,
     "Start it: 'systemctl start poe-service'. A start costs every port its power until the main process has "
     "sent "
     "its configuration. If it ends again, the log's last lines say why."},
    {"no-console", "The service runs without its console.", consoleIsMissing,
     "Another program had port 10001 when the service started. End that program ('ss -ltnp' names it) and "
     "restart the "
     "service; the restart costs every port its power for a moment."},
    {"foreign-console", "Another program than the service answers on port 10001.", consoleIsForeign,
     "'ss -ltnp' names the program. End it; then restart the service, which costs every port its power for a "
     "moment."},
    {"console-silent", "The console does not answer: the service hangs, or another program has port 10001.",
     consoleIsSilent,
     "Check that the log reader reads /dev/log ('ss -xa') and that the bus does not hang. The last resort is "
     "to "
     "restart the service, which costs every port its power for a moment."},
    {"no-driver", "The service had no memory for its driver.", driverIsMissing,
     "Free memory and restart the service; the restart costs no port power that it has not lost already."},
    {"chip-unreachable", "The chip does not answer: no port can be switched or watched.", chipIsUnreachable,
     "Check the chip's power and the adapter: 'ls /dev/i2c-0', the kernel's log. Powered ports stay powered. "
     "'No such "
     "file' or 'busy' in the log need a restart of the service after the repair. Otherwise the service sets "
     "the chip up "
     "by itself, and every port is without power for a moment."},
    {"bus-errors", "Transfers on the chip's bus fail; each failure costs every port its power for a moment.",
     busErrorsGrow,
     "Make no transfers: no 'info', 'poeport', 'i2cget'. Check the bus: other programs on the adapter, the "
     "kernel's "
     "log, plugs and supply of the chip. A restart of the service does not help."},
    {"bus-errors-earlier", "Transfers have failed again and again since the service started.",
     busErrorsAreMany,
     "Each episode cost every port its power for a moment. Look for the times in the log ('Failed reading "
     "device') and "
     "for what else used the bus then."},
    {"bank-7",
     "Bank 7 has a limit, so the service sets up the chip in every cycle and all ports go off and on.",
     bank7HasALimit,
     "Set bankPowerLimit[7] to 0 in the main process's configuration; if it is 0 there, a program beside the "
     "service "
     "has written register 0x90. The next cycle then leaves the ports on."},
    {"set-up-again", "The service sets up the chip again and again although transfers succeed.",
     chipIsSetUpAgain,
     "The chip loses its registers: check its supply. If bank 7 has a limit in the configuration, set it to "
     "0."},
    {"supply-low", "The supply is below the minimum shutdown voltage, so the chip powers no port.",
     supplyIsLow,
     "Repair the supply of the ports (the 48 V input). Neither service nor main process need a restart: the "
     "ports come "
     "back by themselves."},
    {"thermal-shutdown", "The chip is too hot and has switched off its ports.", chipIsHot,
     "Cool the card: fans, air flow, load of the ports. The ports come back by themselves."},
    {"engine-idle", "The engine is IDLE: it drops configurations and sends no status.", engineIsIdle,
     "Restart the service. This costs every port its power for a moment."},
    {"watchdog-late", "A thread of the service has not run for 60 s.", watchdogIsLate,
     "A transfer hangs, or the log reader does not read /dev/log. Under systemd the service is restarted by "
     "itself, "
     "which costs every port its power for a moment."},
    {"no-main-process", "There is no /queueToMain, so no main process runs and nobody gets a status.",
     mainProcessIsMissing, "Start the main process. No port loses power by it."},
    {"status-unread", "Nobody reads the status messages on /queueToMain.", statusIsUnread,
     "Check why the main process does not read its queue. If it has ended, start it again, before that "
     "'poectl clean'. "
     "The ports keep their power, but the service reacts more slowly while the queue is full."},
    {"not-configured", "No configuration has come since the service started, so all ports are off.",
     nothingIsConfigured,
     "Let the main process send its configuration again, usually by restarting the main process. On a bench: "
     "'poectl "
     "apply FILE'. A port that has no power loses none."},
    {"limits-above-bank", "The limits do not fit into the bank, so the service switches ports off and on.",
     limitsExceedTheBank,
     "Lower the limits or raise the bank's limit in the main process's configuration. 'poectl explain FILE "
     "--status' "
     "shows the shares. Ports that fit keep their power."},
    {"bad-priority",
     "A configuration gives a port a priority other than 1 to 3, so the port is never served.",
     priorityIsWrong,
     "Correct the priority in the main process's configuration. Without room in the bank, the port loses its "
     "power "
     "again and again; the correction costs no port its power."},
};

Evidence fetFails(const CardLooks& looks, unsigned port) {
  return channelOnce(looks, port, "fet_error", "TRUE") ? quoteChannel(looks, port, "fet_error") : "";
}

Evidence mosfetIsHot(const CardLooks& looks, unsigned port) {
  const bool hot = channelOnce(looks, port, "mosfet_overtemperature", "TRUE");
  return hot ? quoteChannel(looks, port, "mosfet_overtemperature") : "";
}

// What a register of the chip shows is compared with the configuration; only while no recovery is due.
Evidence registersDiffer(const CardLooks& looks, unsigned port) {
  const std::optional<bool> enabled = isEnabled(looks, port);
  if (!enabled || isBusFailing(looks) || isSetUpAgain(looks)) {
    return "";
  }
  const std::string admin = looks.bus->port(port).quote("admin enable");
  const std::uint32_t wanted = *enabled ? 3 : 0;
  if (looks.bus->mode && ((*looks.bus->mode >> (2 * port)) & 3U) != wanted) {
    return admin + ", but the port's mode in register 0x12 is " +
           std::to_string((*looks.bus->mode >> (2 * port)) & 3U) + " instead of " + std::to_string(wanted);
  }
  const std::uint32_t bits = 0x11U << port;
  if (*enabled && looks.bus->detection && (*looks.bus->detection & bits) != bits) {
    return admin + ", but register 0x14 = " + text::hexadecimal(*looks.bus->detection) +
           " switches its detection off";
  }
  if (!*enabled && channelAlways(looks, port, "enable", "TRUE")) {
    return admin + ", but " + quoteChannel(looks, port, "enable");
  }
  const std::string temporary = "temp port power limit (W)";
  const bool hasTemporary = looks.bus->port(port).number(temporary).value_or(0) != 0;
  return hasTemporary ? looks.bus->port(port).quote(temporary) + ", which the service never sets" : "";
}

bool hasBadSignature(const CardLooks& looks, unsigned port) {
  const ReportLines& channel = looks.free.back().channel[port];
  return channel.is("det_status", "SHORT") || channel.is("det_status", "CPD_TOO_HIGH") ||
         channel.is("det_status", "RSIG_TOO_LOW") || channel.is("det_status", "RSIG_TOO_HIGH");
}

Evidence signatureIsBad(const CardLooks& looks, unsigned port) {
  return hasBadSignature(looks, port) ? quoteChannel(looks, port, "det_status") : "";
}

Evidence detectionFails(const CardLooks& looks, unsigned port) {
  const bool fails = looks.free.back().channel[port].isTrue("det_fail") && !hasBadSignature(looks, port);
  return fails ? quoteChannel(looks, port, "det_fail") : "";
}

Evidence denied(const CardLooks& looks, unsigned port, Denial reason) {
  if (isHeldByTheCard(looks, port) || denialOf(looks, port) != reason) {
    return "";
  }
  const std::string word = classOf(looks, port);
  return quoteGrown(looks, port, "powerDeniedCounter") + "; " + word + " may draw " +
         std::to_string(*classWatts(word)) + " W, the port's limit is " +
         looks.bus->port(port).text("port power limit (W)") + " W, the other ports leave " +
         std::to_string(leftByOthers(looks, port)) + " W of bank " + looks.bus->info.text("power_bank") +
         " with its " + looks.bus->info.text("power_limit (this bank)") + " W";
}

Evidence deniedByLimit(const CardLooks& looks, unsigned port) {
  return denied(looks, port, Denial::PORT_LIMIT);
}

Evidence deniedByBank(const CardLooks& looks, unsigned port) {
  return denied(looks, port, Denial::BANK_LIMIT);
}

Evidence deniedDevice(const CardLooks& looks, unsigned port) {
  return denied(looks, port, Denial::DEVICE);
}

// A port that is set up again loses its device's load, which counts as an underload: no fault of the port.
Evidence counterGrows(const CardLooks& looks, unsigned port, const char* counter) {
  const bool isPortsOwn = !isHeldByTheCard(looks, port) && !isRestartedByLimits(looks, port);
  return isPortsOwn && grown(looks, port, counter) != 0 ? quoteGrown(looks, port, counter) : "";
}

Evidence overloadsGrow(const CardLooks& looks, unsigned port) {
  return counterGrows(looks, port, "overLoadCounter");
}

Evidence shortsGrow(const CardLooks& looks, unsigned port) {
  return counterGrows(looks, port, "shortCounter");
}

Evidence underloadsGrow(const CardLooks& looks, unsigned port) {
  return counterGrows(looks, port, "underLoadCounter");
}

Evidence classErrorsGrow(const CardLooks& looks, unsigned port) {
  return counterGrows(looks, port, "classErrorCounter");
}

struct PortRule {
  const char* name;
  const char* words;
  Evidence (*evidence)(const CardLooks& looks, unsigned port); // the condition; empty: not met
  const char* remedy;
};

constexpr PortRule PORT_RULES[] = {
    {"fet-error", "The chip reports a FET error.", fetFails,
     "Hardware of this port: use another port and replace the card. Other ports are not affected."},
    {"mosfet-hot", "The port's MOSFET is too hot.", mosfetIsHot,
     "Unplug the device, cool the card, and look for an overload. The port comes back by itself; other ports "
     "are not "
     "affected."},
    {"foreign-program", "Another program has changed the port's registers behind the service's back.",
     registersDiffer,
     "Find the program that uses /dev/i2c-0 ('fuser -v /dev/i2c-0') or the console's writeReg, and end it. "
     "Then let the "
     "main process send another setting of this port and the right one again; that costs this port its power "
     "for a "
     "moment. A restart of the service helps too, but costs all ports."},
    {"bad-signature", "What is plugged in has no valid signature.", signatureIsBad,
     "Check the cable, then the device: SHORT is a short circuit, the others are damaged cables or devices "
     "without "
     "Power over Ethernet. Other ports are not affected."},
    {"detection-failed", "The chip's detection of a device fails.", detectionFails,
     "Check the cable, then the device, with another port. Other ports are not affected."},
    {"denied-by-port-limit", "The port's limit is below what the device may draw, so it gets no power.",
     deniedByLimit,
     "Raise the limit of this port in the main process's configuration, or use a device of a lower class. "
     "This costs no "
     "port its power as long as all limits fit into the bank."},
    {"denied-by-bank", "The bank's limit leaves too little for the device, so it gets no power.",
     deniedByBank,
     "Raise the limit of the active bank, give the port a better priority (which takes the power from "
     "another port), or "
     "unplug another device."},
    {"denied-device", "The device draws more than its class, so the chip refuses its power.", deniedDevice,
     "Limits allow what the class may draw: the device is faulty or announces a wrong class. Try another "
     "device."},
    {"overload", "The device draws more than it may, and the chip switches it off.", overloadsGrow,
     "Compare what the device needs with the port's limit and its class; try another device and cable."},
    {"short", "The powered port is short-circuited.", shortsGrow,
     "Unplug the cable, check it and the device. Other ports are not affected."},
    {"underload", "The device draws too little to keep its power and is switched off.", underloadsGrow,
     "Check plug and cable for loose contacts; a device that draws less than about 0.5 W is disconnected."},
    {"class-error", "The classification of the device fails.", classErrorsGrow,
     "Check the cable, then the device, with another port. Other ports are not affected."},
};

bool noPortDetects(const CardLooks& looks) {
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if (!channelAlways(looks, port, "det_status", "UNKNOWN")) {
      return false;
    }
  }
  return true;
}

// Without a cause above: power that goes, a device without power, or no detection where it should go on.
Evidence nothingExplains(const CardLooks& looks, unsigned port) {
  if (isHeldByTheCard(looks, port) || !isEnabled(looks, port).value_or(true)) {
    return "";
  }
  if (losesPower(looks, port)) {
    return quoteChannel(looks, port, "enable") + " in some looks and not in others";
  }
  if (!hasNoPower(looks, port)) {
    return "";
  }
  const bool hasDevice = channelAlways(looks, port, "det_status", "GOOD");
  // Without the bus, a port that does not detect cannot be told from one that is switched off.
  const bool isNotDetecting =
      channelAlways(looks, port, "det_status", "UNKNOWN") && (looks.bus || noPortDetects(looks));
  return hasDevice || isNotDetecting ? quoteChannel(looks, port, "det_status") + ", " +
                                           quoteChannel(looks, port, "enable") + " in every look"
                                     : "";
}

constexpr PortRule UNEXPLAINED = {
    "unexplained", "The port has no power or loses it, and what has been seen does not explain why.",
    nothingExplains,
    "If the bus was not used, allow it. Otherwise 'poectl report' collects what support needs."};

// Verdicts of the card that explain a port without power.
bool explainsPorts(const std::vector<Verdict>& verdicts, unsigned port) {
  return std::any_of(verdicts.begin(), verdicts.end(), [&](const Verdict& verdict) {
    return verdict.port == port ||
           (!verdict.port && (verdict.name == "not-configured" || verdict.name == "limits-above-bank"));
  });
}

} // namespace

std::vector<Verdict> verdictsOn(const CardLooks& looks) {
  std::vector<Verdict> verdicts;
  for (const CardRule& rule : CARD_RULES) {
    const Evidence evidence = rule.evidence(looks);
    if (!evidence.empty()) {
      verdicts.push_back({rule.name, std::nullopt, rule.words, evidence, rule.remedy});
    }
  }
  if (!chipAnswers(looks)) {
    return verdicts; // what is known of the ports is of long ago
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    const auto judge = [&](const PortRule& rule) {
      const Evidence evidence = rule.evidence(looks, port);
      if (!evidence.empty()) {
        verdicts.push_back({rule.name, port, rule.words, evidence, rule.remedy});
      }
    };
    std::for_each(std::begin(PORT_RULES), std::end(PORT_RULES), judge);
    if (!explainsPorts(verdicts, port)) {
      judge(UNEXPLAINED);
    }
  }
  return verdicts;
}

std::vector<std::string> verdictNames() {
  std::vector<std::string> names;
  for (const CardRule& rule : CARD_RULES) {
    names.emplace_back(rule.name);
  }
  for (const PortRule& rule : PORT_RULES) {
    names.emplace_back(rule.name);
  }
  names.emplace_back(UNEXPLAINED.name);
  return names;
}

std::vector<std::string> notesOn(const CardLooks& looks) {
  std::vector<std::string> notes;
  const auto errors = lastDevice(looks).number("device errorcount").value_or(0);
  if (errors != 0 && errors < MANY_EPISODES && !isBusFailing(looks)) {
    notes.push_back(lastDevice(looks).quote("device errorcount") +
                    ": transfers failed since the service started, but not while we looked");
  }
  for (unsigned port = 0; chipAnswers(looks) && port < POE_PORTS; port++) {
    const std::string name = "port " + std::to_string(port);
    if (!isEnabled(looks, port).value_or(true)) {
      notes.push_back(name + " is switched off by the configuration");
    } else if (looks.free.back().channel[port].is("det_status", "OPEN_CIRCUIT")) {
      notes.push_back(name +
                      " sees no device: nothing is plugged in, the cable is broken, or the device knows no "
                      "Power over Ethernet");
    }
  }
  return notes;
}

std::string chipLine(const CardLooks& looks) {
  if (looks.free.empty()) {
    return "chip: not known";
  }
  const std::string line = "chip: " + lastDevice(looks).text("temperature") + " degrees Celsius";
  if (!looks.bus) {
    return line;
  }
  const ReportLines& info = looks.bus->info;
  return line + ", supply " + info.text("main voltage (V)") + " V, at least " +
         info.text("min_shutdown_voltage") + " V, bank " + info.text("power_bank") + " with " +
         info.text("power_limit (this bank)") + " W";
}

std::string portLine(const CardLooks& looks, unsigned port) {
  std::string line = "port " + std::to_string(port) + ": ";
  if (looks.free.empty()) {
    return line + "not known";
  }
  const ReportLines& channel = looks.free.back().channel[port];
  if (!looks.bus) {
    return line + (channel.isTrue("enable") ? "on" : "no power") + ", detection " +
           channel.text("det_status") + ", " + channel.text("pclass") +
           "; state, limit, draw and counters need the bus";
  }
  const ReportLines& report = looks.bus->port(port);
  return line + report.text("Oper status") + ", detection " + channel.text("det_status") + ", " +
         channel.text("pclass") + ", " + report.text("power_consumption (W)") + " W of " +
         report.text("port power limit (W)") + " W, denied " + report.text("powerDeniedCounter") +
         ", overloads " + report.text("overLoadCounter") + ", shorts " + report.text("shortCounter");
}
