#include "poectl/diagnose/diagnosis_text.h"

#include "poectl/diagnose/card_facts.h"
#include "poectl/diagnose/verdicts.h"
#include "text/text.h"

namespace {

std::string sourceText(const CardLooks& looks) {
  std::string text =
      "Looked at: the console, " + std::to_string(looks.transfers) + " transfers on the bus; the queues; ";
  text += looks.logName.empty() ? "no log" : "the log " + looks.logName;
  return text + ".\n";
}

// One item of a list.
std::string item(const std::string& words) {
  return "- " + text::wrapped(words, 2).substr(2);
}

std::string verdictText(std::size_t number, const Verdict& verdict, const PortNames& names) {
  const std::string place = verdict.port ? ", " + portLabel(*verdict.port, names) : "";
  return std::to_string(number) + ". " + verdict.name + place + ": " + verdict.words + "\n" +
         text::wrapped("evidence: " + verdict.evidence, 3) + text::wrapped("remedy: " + verdict.remedy, 3);
}

// The reports that are not understood.
std::string doubtfulReportsText(const CardLooks& looks) {
  std::string text;
  const auto add = [&](const auto& report) { text += report.problem.empty() ? "" : item(report.problem); };
  for (unsigned port = 0; !looks.free.empty() && !hasNoDriver(looks) && port < POE_PORTS; port++) {
    add(lastChannel(looks, port));
  }
  if (looks.bus) {
    add(looks.bus->info);
    for (unsigned port = 0; port < POE_PORTS; port++) {
      add(looks.bus->port(port));
    }
  }
  return text;
}

std::string gapsText(const CardLooks& looks) {
  std::string text = doubtfulReportsText(looks);
  if (!looks.whyNoBus.empty()) {
    text += item("the reports 'info' and 'poeport', and so supply, limits, counters, engine and watchdog: " +
                 looks.whyNoBus);
  }
  if (!looks.logProblem.empty()) {
    text += item("the log: " + looks.logProblem + " (--log FILE names another)");
  }
  if (!looks.status.problem.empty()) {
    text += item("the queue /queueToMain: " + looks.status.problem);
  }
  return text;
}

} // namespace

std::string diagnosisText(const CardLooks& looks) {
  std::string text = sourceText(looks) + chipLine(looks) + "\n";
  for (unsigned port = 0; port < POE_PORTS; port++) {
    text += portLine(looks, port) + "\n";
  }
  const std::vector<Verdict> verdicts = verdictsOn(looks);
  text += verdicts.empty() ? "\nNothing found.\n" : "\nFound:\n";
  for (std::size_t number = 0; number < verdicts.size(); number++) {
    text += verdictText(number + 1, verdicts[number], looks.names);
  }
  const std::vector<std::string> notes = notesOn(looks);
  text += notes.empty() ? "" : "\nNo fault, but worth knowing:\n";
  for (const std::string& note : notes) {
    text += item(note);
  }
  const std::string gaps = gapsText(looks);
  return text + (gaps.empty() ? "" : "\nNot known:\n" + gaps);
}
