#include "poectl/diagnose/verdicts.h"

#include "poectl/diagnose/card_facts.h"
#include "poectl/diagnose/rules.h"

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
  std::string line = "chip: " + lastDevice(looks).text("temperature") + " degrees Celsius";
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
