// What every object that poectl answers for has: an identifier, and a value as far as one is known.
#pragma once

#include "poectl/snmp/oid.h"
#include "poectl/status/snapshot.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

constexpr unsigned PSE_GROUP = 1; // index of the card's chip in RFC 3621

// What is known at the moment of an answer.
struct CardLook {
  // Null when there is none, or only a stale one. It belongs to the source of the look and is valid until the
  // next one.
  const Snapshot* snapshot = nullptr;
  // Of the last snapshot, also of a stale one; negative when its time is in the future. Nothing without one.
  std::optional<std::chrono::milliseconds> age;
};

// A value as a pass_persist program writes it.
struct MibValue {
  const char* type; // "integer", "gauge", "counter", "string" or "objectid"
  std::string text; // one line without its end
};

struct MibObject {
  Oid oid;
  // Nothing: there is no such instance now.
  std::function<std::optional<MibValue>(const CardLook& look)> read;
};

using MibObjects = std::vector<MibObject>;

// Reads a number out of a snapshot; a number of the whole chip ignores the port. Nothing when it is not
// known.
using NumberReader = std::function<std::optional<std::int64_t>(const Snapshot& snapshot, unsigned port)>;

// The number of a field of the status record. Throws std::logic_error when there is none of this name.
NumberReader portNumber(const char* field);
NumberReader chipNumber(const char* field);

// Such a number as an object's value; `type` outlives the result. Nothing without a snapshot.
std::function<std::optional<MibValue>(const CardLook&)> numberValue(const char* type, NumberReader number,
                                                                    unsigned port);

// A value of the text convention TruthValue.
constexpr std::int64_t truthValue(bool value) {
  return value ? 1 : 2;
}

// POWER-ETHERNET-MIB of RFC 3621.
MibObjects powerEthernetObjects();

// The rows of ENTITY-MIB for the chip, its ports and all sensors, and those of ENTITY-SENSOR-MIB for what the
// snapshot knows and POWER-ETHERNET-MIB has no object for.
MibObjects entityObjects();
