// The words for the chip's states, the same in commands and in reports.
#pragma once

#include "simulator/chip/chip_model.h"

#include <array>
#include <cstddef>
#include <utility>

template <typename Value, std::size_t COUNT>
using Words = std::array<std::pair<const char*, Value>, COUNT>;

inline constexpr Words<ChipModel::Signature, 6> SIGNATURE_WORDS = {
    {{"none", ChipModel::Signature::OpenCircuit},
     {"short", ChipModel::Signature::Short},
     {"capacitance", ChipModel::Signature::CapacitanceTooHigh},
     {"low", ChipModel::Signature::ResistanceTooLow},
     {"good", ChipModel::Signature::Good},
     {"high", ChipModel::Signature::ResistanceTooHigh}}};

inline constexpr Words<ChipModel::Fault, 3> FAULT_WORDS = {
    {{"fet", ChipModel::Fault::Fet},
     {"overtemperature", ChipModel::Fault::OverTemperature},
     {"none", ChipModel::Fault::None}}};

inline constexpr Words<ChipModel::Phase, 6> PHASE_WORDS = {{{"off", ChipModel::Phase::Off},
                                                            {"detecting", ChipModel::Phase::Detecting},
                                                            {"classifying", ChipModel::Phase::Classifying},
                                                            {"powering-up", ChipModel::Phase::PoweringUp},
                                                            {"delivering", ChipModel::Phase::Delivering},
                                                            {"error-delay", ChipModel::Phase::ErrorDelay}}};

// "?" for a value without a word.
template <typename Value, std::size_t COUNT>
const char* wordOf(Value value, const Words<Value, COUNT>& words) {
  for (const auto& [word, meaning] : words) {
    if (meaning == value) {
      return word;
    }
  }
  return "?";
}
