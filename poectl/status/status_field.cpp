#include "poectl/status/status_field.h"

#include "text/number.h"

namespace {

using Kind = StatusField::Kind;

constexpr std::uint32_t MAX_CODES = 8; // no field has more values with a word
constexpr char NO_WORD[] = "?";

constexpr StatusField shortNamed(StatusField field, const char* name) {
  field.name = name;
  return field;
}

constexpr StatusField STATE = shortNamed(PORT_FIELDS[0], "state");
constexpr StatusField CLASS = shortNamed(PORT_FIELDS[2], "class");

void append(std::string& names, const char* name) {
  names += names.empty() ? name : std::string(", ") + name;
}

} // namespace

const StatusField* portField(const std::string& name) {
  const StatusField* found = name == STATE.name ? &STATE : name == CLASS.name ? &CLASS : nullptr;
  forEachPortField([&](const StatusField& field) { found = field.name == name ? &field : found; });
  return found;
}

const StatusField* chipField(const std::string& name) {
  for (const StatusField& field : CHIP_FIELDS) {
    if (field.name == name) {
      return &field;
    }
  }
  return nullptr;
}

std::string portFieldNames() {
  std::string names = std::string(STATE.name) + ", " + CLASS.name;
  forEachPortField([&](const StatusField& field) { append(names, field.name); });
  return names;
}

std::string chipFieldNames() {
  std::string names;
  for (const StatusField& field : CHIP_FIELDS) {
    append(names, field.name);
  }
  return names;
}

std::optional<std::int64_t> fieldValue(const StatusField& field, const std::string& text) {
  if (field.kind == Kind::WORD) {
    for (std::uint32_t code = 0; code < MAX_CODES; code++) {
      if (text == field.word(code) && text != NO_WORD) {
        return code;
      }
    }
    return {};
  }
  return text::numberFrom<std::int64_t>(text);
}

std::string acceptedValues(const StatusField& field) {
  if (field.kind == Kind::NUMBER) {
    return "a whole number is accepted";
  }
  if (field.kind == Kind::COUNTER) {
    return "a whole number or an increase such as +1 is accepted";
  }
  std::string words;
  for (std::uint32_t code = 0; code < MAX_CODES; code++) {
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
