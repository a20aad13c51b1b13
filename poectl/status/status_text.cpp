#include "poectl/status/status_text.h"

#include "components/PoeDriver/poe_words.h"
#include "components/PoeDriver/power_limits.h"
#include "poectl/status/status_field.h"
#include "text/text.h"

#include <array>
#include <cctype>
#include <cstring>

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

void appendChip(std::string& text, unsigned long number, const PoeStatus& status) {
  text += text::formatted("message %lu: chip %s, bank limit %u W, consumption %u W, temperature %d C%s%s\n",
                          number, mainOperStatusWord(status.mainOperStatus), status.mainPower,
                          status.mainConsumption, status.deviceTemperature,
                          status.thermalShutdown != 0 ? ", THERMAL SHUTDOWN" : "",
                          status.devError != 0 ? ", BUS ERROR" : "");
}

std::string limitText(const PoePortConfig* config) {
  return config == nullptr || config->adminEnable == 0
             ? "-"
             : std::to_string(effectivePortLimitMw(config->powerLimit) / 1000);
}

void appendPort(std::string& text, unsigned number, const PoePortStatus& port, const PoePortConfig* config) {
  const char* admin = config == nullptr ? "-" : config->adminEnable != 0 ? "on" : "off";
  text += text::formatted("%4u  %-5s  %-15s  %5s  %4u  %7s", number, admin, operStatusWord(port.operStatus),
                          shortClassWord(port.powerClassification), port.powerConsumption,
                          limitText(config).c_str());
  for (const StatusField& counter : STATUS_COUNTER) {
    text += text::formatted("  %*u", static_cast<int>(std::strlen(counter.heading)), port.*counter.member);
  }
  text += "\n";
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

std::string statusText(unsigned long number, const PoeStatus& status,
                       const std::optional<PoeConfig>& config) {
  std::string text;
  appendChip(text, number, status);
  text += "port  admin  state            class     W  limit W";
  for (const StatusField& counter : STATUS_COUNTER) {
    text += std::string("  ") + counter.heading;
  }
  text += "\n";
  for (unsigned port = 0; port < POE_PORTS; port++) {
    appendPort(text, port, status.port[port], config ? &config->port[port] : nullptr);
  }
  return text;
}
