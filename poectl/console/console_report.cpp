#include "poectl/console/console_report.h"

#include "components/PoeDriver/poe_words.h"
#include "poectl/console/console_client.h"
#include "text/number.h"
#include "text/text.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view NO_CHIP = "No POE device found";
// The report shows words for the chip's own codes; each stands at the place of its code.
constexpr std::uint32_t CLASS_OF_CHIP_CODE[] = {PowerClassification::NONE,   PowerClassification::CLASS1,
                                                PowerClassification::CLASS2, PowerClassification::CLASS3,
                                                PowerClassification::CLASS4, PowerClassification::NONE,
                                                PowerClassification::CLASS0, PowerClassification::NONE};
static_assert(std::size(CLASS_OF_CHIP_CODE) == std::size(CHIP_CLASS_WORDS));

std::string_view trimmed(std::string_view text) {
  const std::size_t start = text.find_first_not_of(' ');
  return start == std::string_view::npos ? std::string_view()
                                         : text.substr(start, text.find_last_not_of(' ') + 1 - start);
}

template <std::size_t size>
std::optional<std::uint32_t> codeOf(const char* const (&words)[size], std::string_view word) {
  const auto* const found = std::find(std::begin(words), std::end(words), word);
  return found == std::end(words) ? std::nullopt
                                  : std::make_optional(static_cast<std::uint32_t>(found - std::begin(words)));
}

using Line = std::pair<std::string_view, std::string_view>; // label and value

// Label and value of a line "label = value" or "label : value"; both empty for another line.
Line splitLine(std::string_view line) {
  const std::size_t separator = std::min(line.find(" = "), line.find(" : "));
  return separator == std::string_view::npos
             ? Line()
             : Line(trimmed(line.substr(0, separator)), line.substr(separator + 3));
}

template <typename Visit>
void forEachLine(std::string_view reply, Visit visit) {
  while (!reply.empty()) {
    const std::string_view line = reply.substr(0, reply.find('\n'));
    reply.remove_prefix(std::min(line.size() + 1, reply.size()));
    visit(line);
  }
}

// The lines of a report. It refers to the reply.
class Lines {
public:
  Lines(const std::string& command, const std::string& reply, std::string_view title)
      : m_name("the console's report '" + command + "'") {
    std::string_view first; // that is no frame of a title
    forEachLine(reply, [&](std::string_view line) {
      if (first.empty() && line.find_first_not_of('=') != std::string_view::npos) {
        first = line;
      }
      if (line == NO_CHIP) {
        throw ConsoleError(m_name + " is '" + std::string(NO_CHIP) + "': the service has no driver");
      }
      m_lines.push_back(splitLine(line));
    });
    if (first != title) {
      throw ConsoleError(m_name + " begins with " + text::quoted(first) + " and not with " +
                         text::quoted(title));
    }
    const std::string_view end = "\n\n"; // of every report
    if (reply.size() < end.size() || reply.compare(reply.size() - end.size(), end.size(), end) != 0) {
      throw ConsoleError(m_name + " is cut");
    }
  }

  bool has(std::string_view label) const { return find(label) != m_lines.end(); }

  std::string_view value(std::string_view label) const {
    const auto line = find(label);
    if (line == m_lines.end()) {
      throw ConsoleError(m_name + " has no line " + text::quoted(label));
    }
    return line->second;
  }

  template <typename Number>
  Number number(std::string_view label) const {
    return known(label, text::numberFrom<Number>(value(label)));
  }

  bool flag(std::string_view label) const {
    const std::string_view shown = value(label);
    return known(label, shown == "TRUE"    ? std::make_optional(true)
                        : shown == "FALSE" ? std::make_optional(false)
                                           : std::nullopt);
  }

  // A value in 0.1 V from volts with one decimal.
  std::uint32_t volts(std::string_view label) const {
    std::string digits(value(label));
    const std::size_t point = digits.find('.');
    if (point == std::string::npos || point + 2 != digits.size()) {
      refuse(label);
    }
    return known(label, text::numberFrom<std::uint32_t>(digits.erase(point, 1)));
  }

  template <typename Value>
  Value known(std::string_view label, std::optional<Value> value) const {
    if (!value) {
      refuse(label);
    }
    return *value;
  }

private:
  std::vector<Line>::const_iterator find(std::string_view label) const {
    return std::find_if(m_lines.begin(), m_lines.end(),
                        [&](const Line& line) { return line.first == label; });
  }

  [[noreturn]] void refuse(std::string_view label) const {
    throw ConsoleError(m_name + " has " + text::quoted(value(label)) + " for " + text::quoted(label) +
                       ", which is not understood");
  }

  const std::string m_name;
  std::vector<Line> m_lines;
};

std::string withPort(const char* command, unsigned port) {
  return command + (" " + std::to_string(port));
}

std::optional<PoePortReport::Measurements> measurementsOf(const Lines& lines) {
  constexpr const char* FIRST = "main voltage (dV)"; // the service writes all of them or none
  if (!lines.has(FIRST)) {
    return std::nullopt;
  }
  return PoePortReport::Measurements{lines.number<std::uint32_t>(FIRST),
                                     lines.number<std::uint32_t>("port_voltage (dV)"),
                                     lines.number<std::uint32_t>("port_current (mA)"),
                                     lines.number<std::uint32_t>(PoePortLine::CONSUMPTION)};
}

} // namespace

std::string InfoLine::bankRegister(unsigned bank) {
  return "- power_limit[" + std::to_string(bank) + "]";
}

InfoReport parseInfo(const std::string& reply) {
  const Lines lines("info", reply, "pd69104 Engine");
  InfoReport info{};
  info.state = lines.value(InfoLine::STATE);
  info.watchdog = lines.has(InfoLine::WATCHDOG) ? lines.value(InfoLine::WATCHDOG) : "";
  info.driverMode = lines.value("m_HwOperationMode");
  info.busError = lines.flag("m_poeError");
  info.busErrors = lines.number<std::uint32_t>("m_poeErrorCount");
  info.mainVoltage = lines.volts(InfoLine::MAIN_VOLTAGE);
  info.consumption = lines.number<std::uint32_t>("power_consumption");
  info.minShutdownVoltage = lines.volts(InfoLine::MIN_SHUTDOWN_VOLTAGE);
  info.isStatic = lines.flag("PM calculation static");
  info.bank = lines.number<std::uint32_t>(InfoLine::BANK);
  info.bankLimit = lines.number<std::uint32_t>(InfoLine::BANK_LIMIT);
  for (unsigned bank = 0; bank < POE_BANKS; bank++) {
    info.bankRegisters[bank] = lines.number<std::uint32_t>(InfoLine::bankRegister(bank));
  }
  return info;
}

DeviceReport parseDevice(const std::string& reply) {
  const Lines lines("device", reply, "device status");
  return {lines.number<std::uint32_t>("device_id"),
          lines.number<std::uint32_t>("device revision"),
          lines.number<std::int32_t>(DeviceLine::TEMPERATURE),
          lines.flag(DeviceLine::THERMAL_SHUTDOWN),
          lines.flag(DeviceLine::DEV_ERROR),
          lines.number<std::uint32_t>(DeviceLine::BUS_ERRORS)};
}

ChannelReport parseChannel(const std::string& reply, unsigned port) {
  const Lines lines(withPort("channel", port), reply, withPort("channel", port));
  const std::string_view detection = lines.value(ChannelLine::DETECTION);
  const std::uint32_t chipClass = lines.known(
      ChannelLine::CLASSIFICATION, codeOf(CHIP_CLASS_WORDS, lines.value(ChannelLine::CLASSIFICATION)));
  constexpr std::uint32_t UNDEFINED = std::size(DETECTION_WORDS); // the one code without a word of its own
  return {lines.flag(ChannelLine::ENABLE),
          lines.flag("power_good"),
          detection == ILLEGAL_CODE ? UNDEFINED
                                    : lines.known(ChannelLine::DETECTION, codeOf(DETECTION_WORDS, detection)),
          CLASS_OF_CHIP_CODE[chipClass],
          lines.flag(ChannelLine::FET_ERROR),
          lines.flag(ChannelLine::HOT_MOSFET),
          lines.flag("in_pm_mode"),
          lines.flag("passed_MSCC_cap_det"),
          lines.flag(ChannelLine::DETECTION_FAILED)};
}

PoePortReport parsePoePort(const std::string& reply, unsigned port) {
  const Lines lines(withPort("poeport", port), reply, withPort("channel", port)); // it calls itself so
  PoePortReport report{};
  report.enabled = lines.flag(PoePortLine::ENABLE);
  report.operStatus =
      lines.known(PoePortLine::OPER_STATUS, codeOf(OPER_STATUS_WORDS, lines.value(PoePortLine::OPER_STATUS)));
  report.classification = lines.known(PoePortLine::CLASSIFICATION,
                                      codeOf(CLASSIFICATION_WORDS, lines.value(PoePortLine::CLASSIFICATION)));
  if (lines.has(PoePortLine::LIMIT)) {
    report.limit = lines.number<std::uint32_t>(PoePortLine::LIMIT);
    report.temporaryLimit = lines.number<std::uint32_t>(PoePortLine::TEMPORARY_LIMIT);
  }
  if (lines.has("priority")) {
    report.priority = lines.number<std::uint32_t>("priority") + 1;
  }
  report.measurements = measurementsOf(lines);
  for (unsigned counter = 0; counter < STATUS_COUNTERS; counter++) {
    report.counters[counter] = lines.number<std::uint32_t>(STATUS_COUNTER[counter].name);
  }
  return report;
}

std::string shownValue(const std::string& reply, std::string_view label) {
  std::string_view shown;
  forEachLine(reply, [&](std::string_view line) {
    const auto [name, value] = splitLine(line);
    shown = name == label && shown.empty() ? value : shown;
  });
  return std::string(shown);
}

std::string faultsOf(const ChannelReport& channel) {
  const std::pair<bool, const char*> faults[] = {{channel.fetError, "FET error"},
                                                 {channel.hotMosfet, "hot MOSFET"},
                                                 {channel.detectionFailed, "detection failed"}};
  std::string words;
  for (const auto& [isPresent, word] : faults) {
    words += !isPresent ? "" : (words.empty() ? "" : ", ") + std::string(word);
  }
  return words;
}

void addSettings(PortDetails& details, const PoePortReport& port) {
  details.enabled = port.enabled;
  details.limitW = port.limit;
  details.priority = port.priority;
}
