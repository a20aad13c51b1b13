#include "poectl/status/status_text.h"

#include "components/PoeDriver/poe_words.h"
#include "poectl/status/snapshot.h"
#include "poectl/status/timestamp.h"
#include "text/text.h"
#include "text/utf8.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace {

constexpr std::uint32_t DETECTION_CODES = 8;

// The console's words in lower case.
std::array<std::string, DETECTION_CODES> lowerCaseDetectionWords() {
  std::array<std::string, DETECTION_CODES> words;
  for (std::size_t code = 0; code < words.size(); code++) {
    for (const char* letter = code < std::size(DETECTION_WORDS) ? DETECTION_WORDS[code] : ILLEGAL_CODE;
         *letter != '\0'; letter++) {
      words[code] += static_cast<char>(std::tolower(static_cast<unsigned char>(*letter)));
    }
  }
  return words;
}

const std::array<std::string, DETECTION_CODES>& detectionWords() {
  static const std::array<std::string, DETECTION_CODES> WORDS = lowerCaseDetectionWords();
  return WORDS;
}

template <std::size_t size>
const char* word(const char* const (&words)[size], std::uint32_t code) {
  return code < size ? words[code] : "?";
}

std::string chipText(const Snapshot& snapshot) {
  const PoeStatus& status = snapshot.status;
  const bool knowsState = snapshot.knows(*chipField("mainOperStatus"));
  return std::string("chip ") + (knowsState ? mainOperStatusWord(status.mainOperStatus) : "-") +
         ", bank limit " + knownNumber(snapshot, *chipField("mainPower")) + " W, consumption " +
         knownNumber(snapshot, *chipField("mainConsumption")) + " W, temperature " +
         knownNumber(snapshot, *chipField("deviceTemperature")) + " C" +
         (status.thermalShutdown != 0 ? ", THERMAL SHUTDOWN" : "") +
         (status.devError != 0 ? ", BUS ERROR" : "") + "\n";
}

// Columns side by side; the first line has the headings.
class Table {
public:
  enum class Side { LEFT, RIGHT };

  // `cell(port)` is a port's text.
  template <typename Cell>
  void add(const char* heading, std::size_t width, Side side, Cell cellOf) {
    std::array<std::string, POE_PORTS + 1> cells{heading};
    for (unsigned port = 0; port < POE_PORTS; port++) {
      cells[port + 1] = cellOf(port);
    }
    for (const std::string& cell : cells) {
      width = std::max(width, text::charactersIn(cell));
    }
    for (std::size_t line = 0; line < cells.size(); line++) {
      const std::string blanks(width - text::charactersIn(cells[line]), ' ');
      m_lines[line] += (m_lines[line].empty() ? "" : "  ") +
                       (side == Side::LEFT ? cells[line] + blanks : blanks + cells[line]);
    }
  }

  std::string text() const {
    std::string text;
    for (const std::string& line : m_lines) {
      text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
  }

private:
  std::array<std::string, POE_PORTS + 1> m_lines;
};

std::string adminText(const PortDetails& details) {
  return !details.enabled ? "-" : *details.enabled ? "on" : "off";
}

std::string detectionText(const Snapshot& snapshot, unsigned port) {
  const std::string faults = snapshot.details[port].faults.value_or("");
  return detectionWord(snapshot.status.port[port].detectionStatus) + (faults.empty() ? "" : ", " + faults);
}

// What the console adds to the table.
void addMeasurements(Table& table, const Snapshot& snapshot) {
  const auto& details = snapshot.details;
  table.add("prio", 4, Table::Side::RIGHT, [&](unsigned port) { return knownText(details[port].priority); });
  table.add("V", 4, Table::Side::RIGHT, [&](unsigned port) { return voltageText(details[port].voltageDv); });
  table.add("mA", 4, Table::Side::RIGHT, [&](unsigned port) { return knownText(details[port].currentMa); });
}

std::string tableText(const Snapshot& snapshot) {
  const auto& details = snapshot.details;
  const bool isFromConsole = snapshot.source == Snapshot::Source::CONSOLE;
  Table table;
  table.add("port", 4, Table::Side::RIGHT, [](unsigned port) { return std::to_string(port); });
  if (std::any_of(snapshot.names.begin(), snapshot.names.end(),
                  [](const auto& name) { return !name.empty(); })) {
    table.add("name", 4, Table::Side::LEFT, [&](unsigned port) { return snapshot.names[port]; });
  }
  table.add("admin", 5, Table::Side::LEFT, [&](unsigned port) { return adminText(details[port]); });
  table.add("state", 15, Table::Side::LEFT, [&](unsigned port) { return stateText(snapshot, port); });
  table.add("class", 5, Table::Side::RIGHT,
            [&](unsigned port) { return shortClassWord(snapshot.status.port[port].powerClassification); });
  table.add("W", 4, Table::Side::RIGHT,
            [&](unsigned port) { return knownNumber(snapshot, *portField("powerConsumption"), port); });
  table.add("limit W", 7, Table::Side::RIGHT, [&](unsigned port) {
    return details[port].enabled == false ? "-" : knownText(details[port].limitW);
  });
  if (isFromConsole) {
    addMeasurements(table, snapshot);
  }
  for (const StatusField& counter : STATUS_COUNTER) {
    table.add(counter.heading, 0, Table::Side::RIGHT,
              [&](unsigned port) { return knownNumber(snapshot, counter, port); });
  }
  if (isFromConsole) {
    table.add("detection", 0, Table::Side::LEFT,
              [&](unsigned port) { return detectionText(snapshot, port); });
  }
  return table.text();
}

// Names what the table and the line above it lack, in their words. A detail counts when no port has it.
class MissingNames {
public:
  explicit MissingNames(const Snapshot& snapshot) : m_snapshot(snapshot) {}

  void field(const StatusField& field, const char* heading) { add(!m_snapshot.knows(field), heading); }

  template <typename Value>
  void detail(std::optional<Value> PortDetails::*value, const char* heading) {
    const auto& details = m_snapshot.details;
    add(std::none_of(details.begin(), details.end(),
                     [&](const PortDetails& port) { return (port.*value).has_value(); }),
        heading);
  }

  const std::string& text() const { return m_text; }

private:
  void add(bool isMissing, const char* heading) {
    m_text += isMissing ? (m_text.empty() ? "" : ", ") + std::string(heading) : "";
  }

  const Snapshot& m_snapshot;
  std::string m_text;
};

std::string missingText(const Snapshot& snapshot) {
  if (snapshot.missing.empty()) {
    return "";
  }
  MissingNames names(snapshot);
  names.field(*chipField("mainOperStatus"), "chip");
  names.field(*chipField("mainPower"), "bank limit");
  names.field(*chipField("mainConsumption"), "consumption");
  names.detail(&PortDetails::enabled, "admin");
  names.field(*portField("operStatus"), "state");
  names.field(*portField("powerConsumption"), "W");
  names.detail(&PortDetails::limitW, "limit W");
  names.detail(&PortDetails::priority, "prio");
  names.detail(&PortDetails::voltageDv, "V");
  names.detail(&PortDetails::currentMa, "mA");
  for (const StatusField& counter : STATUS_COUNTER) {
    names.field(counter, counter.heading);
  }
  return text::wrapped(snapshot.transfers == 0
                           ? "missing without transfers: " + names.text() +
                                 text::formatted("; ask without --no-bus (%u transfers)", SNAPSHOT_TRANSFERS)
                           : "could not be read: " + names.text());
}

} // namespace

const char* detectionWord(std::uint32_t detection) {
  return detection < DETECTION_CODES ? detectionWords()[detection].c_str() : "?";
}

std::optional<std::uint32_t> detectionOf(const std::string& word) {
  for (std::uint32_t code = 0; code < DETECTION_CODES; code++) {
    if (word == detectionWords()[code]) {
      return code;
    }
  }
  return std::nullopt;
}

const char* operStatusWord(std::uint32_t operStatus) {
  return operStatus == 0 ? "?" : word(OPER_STATUS_WORDS, operStatus);
}

const char* classWord(std::uint32_t powerClassification) {
  constexpr const char* WORDS[] = {"none", "0", "1", "2", "3", "4"};
  return word(WORDS, powerClassification);
}

const char* shortClassWord(std::uint32_t powerClassification) {
  return powerClassification == PowerClassification::NONE ? "-" : classWord(powerClassification);
}

const char* mainOperStatusWord(std::uint32_t mainOperStatus) {
  constexpr const char* WORDS[] = {"unchecked", "running", "?", "UNREACHABLE"};
  return word(WORDS, mainOperStatus);
}

std::string knownNumber(const Snapshot& snapshot, const StatusField& field, unsigned port) {
  return snapshot.knows(field) ? std::to_string(field.read(snapshot.status, port)) : "-";
}

std::string stateText(const Snapshot& snapshot, unsigned port) {
  if (snapshot.knows(*portField("operStatus"))) {
    return operStatusWord(snapshot.status.port[port].operStatus);
  }
  const std::optional<bool>& powered = snapshot.details[port].powered;
  return !powered ? "-" : *powered ? "power on" : "power off";
}

std::string knownText(const std::optional<std::uint32_t>& number) {
  return number ? std::to_string(*number) : "-";
}

std::string voltageText(const std::optional<std::uint32_t>& deciVolts) {
  return deciVolts ? text::formatted("%u.%u", *deciVolts / 10, *deciVolts % 10) : "-";
}

std::string snapshotText(const Snapshot& snapshot) {
  const char* const separator = snapshot.source == Snapshot::Source::QUEUE ? ": " : "\n";
  return originText(snapshot) + separator + chipText(snapshot) + tableText(snapshot) + missingText(snapshot);
}

std::string snapshotBlock(const Snapshot& snapshot) {
  return isoTime(snapshot.end) + " " + snapshotText(snapshot) + "\n";
}
