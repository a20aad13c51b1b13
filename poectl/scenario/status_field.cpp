#include "poectl/scenario/status_field.h"

#include "poectl/status/status_text.h"

#include <charconv>
#include <iterator>

namespace {

using Kind = StatusField::Kind;

constexpr std::uint32_t MOST_CODES = 8; // no field has more values with a word
constexpr char NO_WORD[] = "?";

const char* classOrNone(std::uint32_t powerClassification) {
  return powerClassification == PowerClassification::NONE ? "none" : classWord(powerClassification);
}

const char* chipWord(std::uint32_t mainOperStatus) {
  return mainOperStatus == MainOperStatus::NOT_CHECKED ? "unchecked" : mainOperStatusWord(mainOperStatus);
}

template <auto member>
std::int64_t ofPort(const PoeStatus& status, unsigned port) {
  return status.port[port].*member;
}

template <auto member>
std::int64_t ofChip(const PoeStatus& status, unsigned /*port*/) {
  return status.*member;
}

constexpr StatusField PORT_FIELDS[] = {
    {"state", Kind::WORD, ofPort<&PoePortStatus::operStatus>, operStatusWord},
    {"class", Kind::WORD, ofPort<&PoePortStatus::powerClassification>, classOrNone},
    {"operStatus", Kind::WORD, ofPort<&PoePortStatus::operStatus>, operStatusWord},
    {"detectionStatus", Kind::WORD, ofPort<&PoePortStatus::detectionStatus>, detectionWord},
    {"powerClassification", Kind::WORD, ofPort<&PoePortStatus::powerClassification>, classOrNone},
    {"powerConsumption", Kind::NUMBER, ofPort<&PoePortStatus::powerConsumption>, nullptr},
    {"invalidSignatureCounter", Kind::COUNTER, ofPort<&PoePortStatus::invalidSignatureCounter>, nullptr},
    {"powerDeniedCounter", Kind::COUNTER, ofPort<&PoePortStatus::powerDeniedCounter>, nullptr},
    {"overLoadCounter", Kind::COUNTER, ofPort<&PoePortStatus::overLoadCounter>, nullptr},
    {"underLoadCounter", Kind::COUNTER, ofPort<&PoePortStatus::underLoadCounter>, nullptr},
    {"shortCounter", Kind::COUNTER, ofPort<&PoePortStatus::shortCounter>, nullptr},
    {"classErrorCounter", Kind::COUNTER, ofPort<&PoePortStatus::classErrorCounter>, nullptr},
};

constexpr StatusField CHIP_FIELDS[] = {
    {"mainPower", Kind::NUMBER, ofChip<&PoeStatus::mainPower>, nullptr},
    {"mainOperStatus", Kind::WORD, ofChip<&PoeStatus::mainOperStatus>, chipWord},
    {"mainConsumption", Kind::NUMBER, ofChip<&PoeStatus::mainConsumption>, nullptr},
    {"deviceTemperature", Kind::NUMBER, ofChip<&PoeStatus::deviceTemperature>, nullptr},
    {"thermalShutdown", Kind::NUMBER, ofChip<&PoeStatus::thermalShutdown>, nullptr},
    {"devError", Kind::NUMBER, ofChip<&PoeStatus::devError>, nullptr},
};

template <std::size_t size>
const StatusField* find(const StatusField (&fields)[size], const std::string& name) {
  for (const StatusField& field : fields) {
    if (field.name == name) {
      return &field;
    }
  }
  return nullptr;
}

template <std::size_t size>
std::string names(const StatusField (&fields)[size]) {
  std::string text;
  for (const StatusField& field : fields) {
    text += text.empty() ? field.name : std::string(", ") + field.name;
  }
  return text;
}

} // namespace

const StatusField* portField(const std::string& name) {
  return find(PORT_FIELDS, name);
}

const StatusField* chipField(const std::string& name) {
  return find(CHIP_FIELDS, name);
}

std::string portFieldNames() {
  return names(PORT_FIELDS);
}

std::string chipFieldNames() {
  return names(CHIP_FIELDS);
}

std::optional<std::int64_t> fieldValue(const StatusField& field, const std::string& text) {
  if (field.kind == Kind::WORD) {
    for (std::uint32_t code = 0; code < MOST_CODES; code++) {
      if (text == field.word(code) && text != NO_WORD) {
        return code;
      }
    }
    return {};
  }
  std::int64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end ? std::optional<std::int64_t>(value) : std::nullopt;
}

std::string acceptedValues(const StatusField& field) {
  if (field.kind == Kind::NUMBER) {
    return "a whole number is accepted";
  }
  if (field.kind == Kind::COUNTER) {
    return "a whole number or an increase such as +1 is accepted";
  }
  std::string words;
  for (std::uint32_t code = 0; code < MOST_CODES; code++) {
    const std::string word = field.word(code);
    if (word != NO_WORD) {
      words += words.empty() ? word : ", " + word;
    }
  }
  return words + " are accepted";
}

std::string valueText(const StatusField& field, std::int64_t value) {
  if (field.kind == Kind::WORD && value >= 0) {
    std::string word = field.word(static_cast<std::uint32_t>(value));
    if (word != NO_WORD) {
      return word;
    }
  }
  return std::to_string(value);
}
