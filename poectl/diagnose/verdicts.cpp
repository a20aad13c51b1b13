#include "poectl/diagnose/verdicts.h"

#include "poectl/diagnose/card_facts.h"
#include "poectl/diagnose/rules.h"
#include "poectl/status/status_text.h"

#include <algorithm>

namespace {

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
  const std::vector<PortRule> ofPorts = portRules();
  for (const CardRule& rule : cardRules()) {
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
    std::for_each(ofPorts.begin(), ofPorts.end(), judge);
    if (!explainsPorts(verdicts, port)) {
      judge(UNEXPLAINED);
    }
  }
  return verdicts;
}

std::vector<std::string> verdictNames() {
  std::vector<std::string> names;
  for (const CardRule& rule : cardRules()) {
    names.emplace_back(rule.name);
  }
  for (const PortRule& rule : portRules()) {
    names.emplace_back(rule.name);
  }
  names.emplace_back(UNEXPLAINED.name);
  return names;
}

std::vector<std::string> notesOn(const CardLooks& looks) {
  std::vector<std::string> notes;
  const std::uint32_t errors = busErrors(looks);
  if (errors != 0 && !isBusFailing(looks)) {
    notes.push_back(
        lastDevice(looks).quote(DeviceLine::BUS_ERRORS) +
        ": transfers have failed since the service started, but not while we looked. Each time cost "
        "every port its power for a moment. The log has the times ('Failed reading device')");
  }
  for (unsigned port = 0; chipAnswers(looks) && port < POE_PORTS; port++) {
    const std::string name = portLabel(port, looks.names);
    if (!isEnabled(looks, port).value_or(true)) {
      notes.push_back(name + " is switched off by the configuration");
    } else if (lastChannel(looks, port).is(ChannelLine::DETECTION, DetectionStatus::OPEN_CIRCUIT)) {
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
  std::string line = "chip: " + lastDevice(looks).text(DeviceLine::TEMPERATURE) + " degrees Celsius";
  if (!looks.bus || !looks.bus->info.values) {
    return line;
  }
  const SeenReport<InfoReport>& info = looks.bus->info;
  return line + ", supply " + info.text(InfoLine::MAIN_VOLTAGE) + " V, at least " +
         info.text(InfoLine::MIN_SHUTDOWN_VOLTAGE) + " V, bank " + info.text(InfoLine::BANK) + " with " +
         info.text(InfoLine::BANK_LIMIT) + " W";
}

std::string portLine(const CardLooks& looks, unsigned port) {
  std::string line = portLabel(port, looks.names) + ": ";
  if (looks.free.empty() || !lastChannel(looks, port).values) {
    return line + "not known";
  }
  const SeenReport<ChannelReport>& channel = lastChannel(looks, port);
  const std::string device = std::string(", detection ") + detectionWord(channel.values->detection) +
                             ", class " + classWord(channel.values->classification);
  if (!looks.bus || !looks.bus->port(port).values) {
    return line + (channel.values->enabled ? "on" : "no power") + device +
           "; state, limit, draw and counters need the bus";
  }
  const SeenReport<PoePortReport>& report = looks.bus->port(port);
  const auto counter = [&](Counter wanted) { return std::to_string(counterOf(*report.values, wanted)); };
  return line + report.text(PoePortLine::OPER_STATUS) + device + ", " +
         report.text(PoePortLine::CONSUMPTION) + " W of " + report.text(PoePortLine::LIMIT) + " W, denied " +
         counter(&PoePortStatus::powerDeniedCounter) + ", overloads " +
         counter(&PoePortStatus::overLoadCounter) + ", shorts " + counter(&PoePortStatus::shortCounter);
}
