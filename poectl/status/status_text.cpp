#include "poectl/status/status_text.h"

#include "poectl/status/text_format.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

constexpr const char* DETECTION_WORDS[] = {"unknown", "short",         "cpd_too_high", "rsig_too_low",
                                           "good",    "rsig_too_high", "open_circuit", "illegal"};

template <std::size_t size>
const char* word(const char* const (&words)[size], std::uint32_t code) {
  return code < size ? words[code] : "?";
}

void appendChip(std::string& text, unsigned long number, const PoeStatus& status) {
  text +=
      formatText("message %lu: chip %s, bank limit %u W, consumption %u W, temperature %d C%s%s\n", number,
                 mainOperStatusWord(status.mainOperStatus), status.mainPower, status.mainConsumption,
                 status.deviceTemperature, status.thermalShutdown != 0 ? ", THERMAL SHUTDOWN" : "",
                 status.devError != 0 ? ", BUS ERROR" : "");
}

void appendPort(std::string& text, unsigned number, const PoePortStatus& port, const PoePortConfig* config) {
  char limit[16] = "-";
  if (config != nullptr && config->adminEnable != 0) {
    const std::uint32_t milliWatts = config->powerLimit == 0 ? 40000U : std::min(config->powerLimit, 40000U);
    snprintf(limit, sizeof limit, "%u", milliWatts / 1000);
  }
  const char* admin = config == nullptr ? "-" : config->adminEnable != 0 ? "on" : "off";
  text += formatText("%4u  %-5s  %-15s  %5s  %4u  %7s  %7u  %6u  %8u  %9u  %5u  %8u\n", number, admin,
                     operStatusWord(port.operStatus), classWord(port.powerClassification),
                     port.powerConsumption, limit, port.invalidSignatureCounter, port.powerDeniedCounter,
                     port.overLoadCounter, port.underLoadCounter, port.shortCounter, port.classErrorCounter);
}

} // namespace

const char* detectionWord(std::uint32_t detection) {
  return word(DETECTION_WORDS, detection);
}

std::optional<std::uint32_t> detectionOf(const std::string& word) {
  const auto* const found = std::find(std::begin(DETECTION_WORDS), std::end(DETECTION_WORDS), word);
  if (found == std::end(DETECTION_WORDS)) {
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(found - std::begin(DETECTION_WORDS));
}

const char* operStatusWord(std::uint32_t operStatus) {
  constexpr const char* WORDS[] = {"?",     "DISABLED", "SEARCHING", "DELIVERINGPOWER",
                                   "FAULT", "TEST",     "OTHERFAULT"};
  return word(WORDS, operStatus);
}

const char* classWord(std::uint32_t powerClassification) {
  constexpr const char* WORDS[] = {"-", "0", "1", "2", "3", "4"};
  return word(WORDS, powerClassification);
}

const char* mainOperStatusWord(std::uint32_t mainOperStatus) {
  constexpr const char* WORDS[] = {"not yet checked", "running", "?", "UNREACHABLE"};
  return word(WORDS, mainOperStatus);
}

std::string statusText(unsigned long number, const PoeStatus& status,
                       const std::optional<PoeConfig>& config) {
  std::string text;
  appendChip(text, number, status);
  text += "port  admin  state            class     W  limit W  invalid  denied  overload  underload  short  "
          "classerr\n";
  for (unsigned port = 0; port < POE_PORTS; port++) {
    appendPort(text, port, status.port[port], config ? &config->port[port] : nullptr);
  }
  return text;
}
