// docs/snmp.md has this mapping as a table.
#include "components/PoeDriver/poe_messages.h"
#include "poectl/config/port_names.h"
#include "poectl/snmp/mib_object.h"

#include <limits>

namespace {

using Number = std::optional<std::int64_t>;

const Oid POWER_ETHERNET_MIB = {1, 3, 6, 1, 2, 1, 105};
const Oid PORT_ENTRY = oidBelow(POWER_ETHERNET_MIB, {1, 1, 1});
const Oid MAIN_PSE_ENTRY = oidBelow(POWER_ETHERNET_MIB, {1, 3, 1, 1});
const Oid NOTIFICATION_CONTROL_ENTRY = oidBelow(POWER_ETHERNET_MIB, {1, 4, 1, 1});

struct Column {
  std::uint32_t number;
  const char* type;
  NumberReader read;
};

constexpr std::uint32_t PORT_TYPE = 9; // the only column with a text

// The numbers of an enumeration that names `first` to `last`; the MIB has no word for another one.
NumberReader within(NumberReader read, std::int64_t first, std::int64_t last) {
  return [read = std::move(read), first, last](const Snapshot& snapshot, unsigned port) {
    const Number number = read(snapshot, port);
    return number && *number >= first && *number <= last ? number : std::nullopt;
  };
}

// As configured; without the configuration, the service's first rule tells it: DISABLED is a port that is
// switched off.
Number adminEnable(const Snapshot& snapshot, unsigned port) {
  if (snapshot.details[port].enabled) {
    return truthValue(*snapshot.details[port].enabled);
  }
  static const NumberReader OPER_STATUS = portNumber("operStatus");
  const Number state = OPER_STATUS(snapshot, port);
  return state ? Number(truthValue(*state != OperStatus::DISABLED)) : std::nullopt;
}

Number priority(const Snapshot& snapshot, unsigned port) {
  const auto& priority = snapshot.details[port].priority;
  return priority ? Number(*priority) : std::nullopt;
}

// The service counts each denial twice.
NumberReader halved(NumberReader read) {
  return [read = std::move(read)](const Snapshot& snapshot, unsigned port) {
    const Number number = read(snapshot, port);
    return number ? Number(*number / 2) : std::nullopt;
  };
}

NumberReader constant(std::int64_t number) {
  return [number](const Snapshot&, unsigned) { return Number(number); };
}

std::vector<Column> portColumns() {
  return {
      {3, "integer", adminEnable},
      {4, "integer", constant(truthValue(false))}, // the pairs are those that the card wires
      {6, "integer", within(portNumber("operStatus"), 1, 6)},
      {7, "integer", within(priority, 1, 3)},
      {8, "counter", portNumber("underLoadCounter")},
      {10, "integer", within(portNumber("powerClassification"), 1, 5)},
      {11, "counter", portNumber("invalidSignatureCounter")},
      {12, "counter", halved(portNumber("powerDeniedCounter"))},
      {13, "counter", portNumber("overLoadCounter")},
      {14, "counter", portNumber("shortCounter")},
  };
}

std::vector<Column> mainColumns() {
  return {
      {2, "gauge", within(chipNumber("mainPower"), 1, 65535)},
      {3, "integer", within(chipNumber("mainOperStatus"), 1, 3)},
      {4, "gauge", within(chipNumber("mainConsumption"), 0, std::numeric_limits<std::uint32_t>::max())},
  };
}

// The name of the port, which says what is plugged in. A text that no configuration file could have given is
// none.
MibObject portType(unsigned port) {
  return {oidBelow(PORT_ENTRY, {PORT_TYPE, PSE_GROUP, port + 1}),
          [port](const CardLook& look) -> std::optional<MibValue> {
            if (look.snapshot == nullptr) {
              return {};
            }
            const std::string& name = look.snapshot->names[port];
            return MibValue{"string", isPortName(name) ? name : ""};
          }};
}

} // namespace

MibObjects powerEthernetObjects() {
  MibObjects objects;
  for (unsigned port = 0; port < POE_PORTS; port++) {
    for (const Column& column : portColumns()) {
      objects.push_back({oidBelow(PORT_ENTRY, {column.number, PSE_GROUP, port + 1}),
                         numberValue(column.type, column.read, port)});
    }
    objects.push_back(portType(port));
  }
  for (const Column& column : mainColumns()) {
    objects.push_back(
        {oidBelow(MAIN_PSE_ENTRY, {column.number, PSE_GROUP}), numberValue(column.type, column.read, 0)});
  }
  constexpr std::uint32_t NOTIFICATIONS_ARE_ON = 2;
  objects.push_back({oidBelow(NOTIFICATION_CONTROL_ENTRY, {NOTIFICATIONS_ARE_ON, PSE_GROUP}),
                     numberValue("integer", constant(truthValue(false)), 0)});
  return objects;
}
