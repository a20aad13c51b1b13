#include "tests/faults/power/power_table.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

namespace {

using std::chrono::nanoseconds;

constexpr const char* HEAD = "| What happens | At transfer | Ports | Power | First lost at transfer | On "
                             "after transfers | On after |\n"
                             "|---|---|---|---|---|---|---|\n";
constexpr const char* NEVER = "never on";  // has no row
constexpr std::size_t AGAIN_AND_AGAIN = 5; // changes

// What a port sees, without the numbers.
struct Outcome {
  std::string power;
  std::string cause; // of the first loss

  bool operator==(const Outcome& other) const { return power == other.power && cause == other.cause; }
};

using Outcomes = std::vector<Outcome>; // by port

struct Range {
  long long least = 0;
  long long most = 0;
  bool isEmpty = true;

  void add(long long value) {
    least = isEmpty ? value : std::min(least, value);
    most = isEmpty ? value : std::max(most, value);
    isEmpty = false;
  }
};

// The numbers of all ports of a row.
struct Figures {
  Range lostAt;        // transfer
  Range backTransfers; // since the loss; without one since the event
  Range backTime;      // 10 ms
};

std::vector<PowerChange>::const_iterator firstLoss(const PowerHistory& history) {
  return std::find_if(history.changes.begin(), history.changes.end(),
                      [](const PowerChange& change) { return !change.isOn; });
}

std::string powerWords(const PowerHistory& history) {
  if (history.changes.empty()) {
    return history.hadPower ? "kept" : NEVER;
  }
  if (history.changes.size() >= AGAIN_AND_AGAIN) {
    return "lost and back, again and again";
  }
  std::string words;
  bool hadPower = history.hadPower;
  for (const PowerChange& change : history.changes) {
    words += words.empty() ? "" : ", ";
    words += !change.isOn ? "lost" : hadPower ? "back" : "on";
    hadPower = true;
  }
  return words;
}

Outcome outcomeOf(const PowerHistory& history) {
  const auto loss = firstLoss(history);
  return {powerWords(history), loss == history.changes.end() ? "" : loss->cause};
}

Outcomes outcomesOf(const Trial& trial) {
  Outcomes outcomes;
  for (const PowerHistory& history : trial.ports) {
    outcomes.push_back(outcomeOf(history));
  }
  return outcomes;
}

long long hundredths(nanoseconds time) {
  constexpr nanoseconds UNIT = std::chrono::milliseconds{10};
  return (time + UNIT / 2) / UNIT;
}

void addFigures(const PowerHistory& history, Figures* figures) {
  const auto loss = firstLoss(history);
  if (loss == history.changes.end()) {
    for (const PowerChange& change : history.changes) {
      figures->backTransfers.add(change.transfers);
      figures->backTime.add(hundredths(change.time));
    }
    return;
  }
  figures->lostAt.add(loss->transfers);
  for (auto change = loss; change != history.changes.end() && change + 1 != history.changes.end(); change++) {
    const PowerChange& next = *(change + 1);
    if (!change->isOn) {
      figures->backTransfers.add(static_cast<long long>(next.transfers) - change->transfers);
      figures->backTime.add(hundredths(next.time - change->time));
    }
  }
}

std::string numbers(const Range& range) {
  if (range.isEmpty) {
    return "";
  }
  const std::string least = std::to_string(range.least);
  return range.least == range.most ? least : least + " to " + std::to_string(range.most);
}

std::string secondsText(long long hundredthsOfASecond) {
  const std::string digits = std::to_string(100 + hundredthsOfASecond % 100);
  return std::to_string(hundredthsOfASecond / 100) + "." + digits.substr(1);
}

std::string times(const Range& range) {
  if (range.isEmpty) {
    return "";
  }
  const std::string least = secondsText(range.least);
  return (range.least == range.most ? least : least + " to " + secondsText(range.most)) + " s";
}

std::string lossText(const Outcome& outcome, const Range& lostAt) {
  if (lostAt.isEmpty) {
    return "";
  }
  return outcome.cause.empty() ? "at once, by the chip" : numbers(lostAt) + ", a write of " + outcome.cause;
}

// Rising numbers: "1 to 3, 7, 9 to 12".
std::string listOf(const std::vector<unsigned>& values) {
  std::string text;
  for (std::size_t first = 0; first < values.size();) {
    Range run;
    run.add(values.at(first));
    while (first + 1 < values.size() && values.at(first + 1) == values.at(first) + 1) {
      first++;
      run.add(values.at(first));
    }
    first++;
    text += (text.empty() ? "" : ", ") + numbers(run);
  }
  return text;
}

// The trials of an event in which all ports see the same.
struct Group {
  Outcomes outcomes;
  std::vector<const Trial*> trials;
};

std::vector<Group> groupsOf(const TriedEvent& event) {
  std::vector<Group> groups;
  for (const Trial& trial : event.trials) {
    const Outcomes outcomes = outcomesOf(trial);
    auto group = std::find_if(groups.begin(), groups.end(),
                              [&](const Group& known) { return known.outcomes == outcomes; });
    if (group == groups.end()) {
      group = groups.insert(groups.end(), {outcomes, {}});
    }
    group->trials.push_back(&trial);
  }
  return groups;
}

std::string transfersText(const TriedEvent& event, const Group& group) {
  std::vector<unsigned> transfers;
  for (const Trial* trial : group.trials) {
    transfers.push_back(trial->transfer);
  }
  if (transfers.front() == 0) {
    return "";
  }
  if (transfers.size() == event.trials.size()) {
    return "each of " + std::to_string(transfers.size());
  }
  return listOf(transfers);
}

std::string row(const std::vector<std::string>& cells) {
  std::string line = "|";
  for (const std::string& cell : cells) {
    line += " " + cell + (cell.empty() ? "|" : " |");
  }
  return line + "\n";
}

// A row for each outcome that a port of the group has, but for a port that never has power.
std::string rowsOf(const Group& group, std::string name, std::string transfers) {
  std::map<unsigned, std::vector<unsigned>> portsByFirst; // ports of equal outcome, by the first of them
  for (unsigned port = 0; port < group.outcomes.size(); port++) {
    const auto first = std::find(group.outcomes.begin(), group.outcomes.end(), group.outcomes.at(port));
    portsByFirst[static_cast<unsigned>(first - group.outcomes.begin())].push_back(port);
  }
  std::string rows;
  for (const auto& [first, ports] : portsByFirst) {
    const Outcome& outcome = group.outcomes.at(first);
    if (outcome.power == NEVER) {
      continue;
    }
    Figures figures;
    for (const Trial* trial : group.trials) {
      for (const unsigned port : ports) {
        addFigures(trial->ports.at(port), &figures);
      }
    }
    rows += row({std::exchange(name, {}), std::exchange(transfers, {}), listOf(ports), outcome.power,
                 lossText(outcome, figures.lostAt), numbers(figures.backTransfers), times(figures.backTime)});
  }
  return rows;
}

std::string historyText(const PowerHistory& history) {
  std::ostringstream text;
  text << (history.hadPower ? ": on" : ": off");
  for (const PowerChange& change : history.changes) {
    text << (change.isOn ? ", on" : ", off") << " at transfer " << change.transfers << " ("
         << (change.cause.empty() ? "chip" : change.cause) << ") after "
         << secondsText(hundredths(change.time)) << " s";
  }
  return text.str();
}

} // namespace

std::string tableOf(const std::vector<TriedEvent>& events) {
  std::string table = HEAD;
  for (const TriedEvent& event : events) {
    std::string name = event.name;
    for (const Group& group : groupsOf(event)) {
      table += rowsOf(group, std::exchange(name, {}), transfersText(event, group));
    }
  }
  return table;
}

std::string linesOf(const std::vector<TriedEvent>& events) {
  std::ostringstream lines;
  for (const TriedEvent& event : events) {
    for (const Trial& trial : event.trials) {
      for (unsigned port = 0; port < trial.ports.size(); port++) {
        lines << event.name << ", transfer " << trial.transfer << ", port " << port
              << historyText(trial.ports.at(port)) << "\n";
      }
    }
  }
  return lines.str();
}
