// The fields of a status message by name, and their values as a person writes them.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <cstdint>
#include <optional>
#include <string>

struct StatusField {
  enum class Kind {
    NUMBER,
    COUNTER, // a number whose increase can be asked for, modulo 2^32
    WORD,    // a code, written as its word
  };
  using Read = std::int64_t (*)(const PoeStatus& status, unsigned port);
  using Word = const char* (*)(std::uint32_t code);

  const char* name;
  Kind kind;
  Read read; // the fields of the whole chip ignore the port
  Word word; // of Kind::WORD only; "?" for a code that has none
};

// A field of a port's or of the whole chip's record. Null when there is none of this name.
const StatusField* portField(const std::string& name);
const StatusField* chipField(const std::string& name);

// All names, separated by commas.
std::string portFieldNames();
std::string chipFieldNames();

// The value that `text` stands for. Nothing when the field has no such value.
std::optional<std::int64_t> fieldValue(const StatusField& field, const std::string& text);

// What fieldValue accepts, as a part of a sentence.
std::string acceptedValues(const StatusField& field);

// A value as fieldValue takes it; a code without a word as a number.
std::string valueText(const StatusField& field, std::int64_t value);
