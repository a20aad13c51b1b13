// docs/snmp.md has the sensors as a table.
#include "components/PoeDriver/poe_messages.h"
#include "poectl/snmp/mib_object.h"

#include <algorithm>
#include <limits>

namespace {

using Number = std::optional<std::int64_t>;

const Oid ENTITY_ENTRY = {1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1};
const Oid SENSOR_ENTRY = {1, 3, 6, 1, 2, 1, 99, 1, 1, 1};

// The indexes of entPhysicalTable: the chip, its sensors, and 100, 200, 300 and 400 for the ports, each
// followed by its sensors.
constexpr std::uint32_t CHIP = 1;
constexpr std::uint32_t PORT_STEP = 100;

constexpr std::uint32_t portIndex(unsigned port) {
  return PORT_STEP * (port + 1);
}

enum class EntityClass { SENSOR = 8, MODULE = 9, PORT = 10 };

enum class SensorType { OTHER = 1, VOLTS_DC = 4, AMPERES = 5, WATTS = 6, CELSIUS = 8, TRUTH = 12 };

enum class SensorScale { MILLI = 8, UNITS = 9 };

// What a sensor reads; unlike a field of the record, the age is there without a fresh snapshot.
using SensorReader = std::function<Number(const CardLook& look, unsigned port)>;

struct Sensor {
  std::uint32_t number; // its index after that of the chip or port
  const char* name;
  SensorType type;
  SensorScale scale;
  unsigned decimals;
  const char* units;
  SensorReader read;
  bool isPublished = true; // false: made anew for each answer
};

SensorReader published(NumberReader read) {
  return [read = std::move(read)](const CardLook& look, unsigned port) {
    return look.snapshot != nullptr ? read(*look.snapshot, port) : std::nullopt;
  };
}

// Of a field that is 0 or another number.
SensorReader truthOf(NumberReader read) {
  return [read = published(std::move(read))](const CardLook& look, unsigned port) {
    const Number number = read(look, port);
    return number ? Number(truthValue(*number != 0)) : std::nullopt;
  };
}

template <auto member>
Number detail(const Snapshot& snapshot, unsigned port) {
  const auto& value = snapshot.details[port].*member;
  return value ? Number(*value) : std::nullopt;
}

Number ageInTenths(const CardLook& look, unsigned /*port*/) {
  constexpr std::chrono::milliseconds TENTH{100};
  return look.age ? Number(*look.age / TENTH) : std::nullopt;
}

std::vector<Sensor> chipSensors() {
  using Type = SensorType;
  const auto units = SensorScale::UNITS;
  return {
      {1, "temperature", Type::CELSIUS, units, 0, "degrees Celsius",
       published(chipNumber("deviceTemperature"))},
      {2, "thermal shutdown", Type::TRUTH, units, 0, "truth value", truthOf(chipNumber("thermalShutdown"))},
      {3, "device error", Type::TRUTH, units, 0, "truth value", truthOf(chipNumber("devError"))},
      {4, "snapshot age", Type::OTHER, units, 1, "s", ageInTenths, false},
  };
}

std::vector<Sensor> portSensors() {
  using Type = SensorType;
  const auto units = SensorScale::UNITS;
  return {
      {1, "power", Type::WATTS, units, 0, "W", published(portNumber("powerConsumption"))},
      {2, "voltage", Type::VOLTS_DC, units, 1, "V", published(detail<&PortDetails::voltageDv>)},
      {3, "current", Type::AMPERES, SensorScale::MILLI, 0, "mA", published(detail<&PortDetails::currentMa>)},
      {4, "power limit", Type::WATTS, units, 0, "W", published(detail<&PortDetails::limitW>)},
      {5, "powered", Type::TRUTH, units, 0, "truth value", truthOf(detail<&PortDetails::powered>)},
      {6, "detection", Type::OTHER, units, 0, "code", published(portNumber("detectionStatus"))},
      {7, "class errors", Type::OTHER, units, 0, "errors", published(portNumber("classErrorCounter"))},
  };
}

std::function<std::optional<MibValue>(const CardLook&)> constant(const char* type, std::string text) {
  return [value = MibValue{type, std::move(text)}](const CardLook&) { return value; };
}

std::function<std::optional<MibValue>(const CardLook&)> constant(std::int64_t number) {
  return constant("integer", std::to_string(number));
}

struct Entity {
  std::uint32_t index;
  std::string description;
  EntityClass type;
  std::uint32_t containedIn; // 0: nothing
  std::int64_t position;     // among what that contains, from 1; -1: not known
  std::string name;
};

void addEntity(MibObjects& objects, const Entity& entity) {
  const auto add = [&](std::uint32_t column, auto value) {
    objects.push_back({oidBelow(ENTITY_ENTRY, {column, entity.index}), std::move(value)});
  };
  add(2, constant("string", entity.description));
  add(3, constant("objectid", ".0.0")); // the type of the vendor: none is registered
  add(4, constant(entity.containedIn));
  add(5, constant(static_cast<int>(entity.type)));
  add(6, constant(entity.position));
  add(7, constant("string", entity.name));
}

// EntitySensorValue: what lies outside is reported as one of the bounds.
constexpr std::int64_t MAX_SENSOR_VALUE = 1'000'000'000;

std::optional<MibValue> sensorValue(const Sensor& sensor, const CardLook& look, unsigned port) {
  const Number number = sensor.read(look, port);
  if (!number) {
    return {};
  }
  return MibValue{"integer", std::to_string(std::clamp(*number, -MAX_SENSOR_VALUE, MAX_SENSOR_VALUE))};
}

// In ms; 0 when it is not known, or the value is made for each answer.
std::optional<MibValue> updateRate(const Sensor& sensor, const CardLook& look) {
  const std::int64_t period =
      sensor.isPublished && look.snapshot != nullptr ? look.snapshot->period.count() : 0;
  return MibValue{"gauge", std::to_string(std::min<std::int64_t>(period, UINT32_MAX))};
}

void addSensor(MibObjects& objects, const Sensor& sensor, std::uint32_t owner, unsigned port) {
  constexpr int OK = 1;
  constexpr int UNAVAILABLE = 2;
  const auto add = [&](std::uint32_t column, auto value) {
    objects.push_back({oidBelow(SENSOR_ENTRY, {column, owner + sensor.number}), std::move(value)});
  };
  add(1, constant(static_cast<int>(sensor.type)));
  add(2, constant(static_cast<int>(sensor.scale)));
  add(3, constant(sensor.decimals));
  add(4, [sensor, port](const CardLook& look) { return sensorValue(sensor, look, port); });
  add(5, [sensor, port](const CardLook& look) {
    return std::optional(MibValue{"integer", std::to_string(sensor.read(look, port) ? OK : UNAVAILABLE)});
  });
  add(6, constant("string", sensor.units));
  add(8, [sensor](const CardLook& look) { return updateRate(sensor, look); });
}

void addSensors(MibObjects& objects, const std::vector<Sensor>& sensors, const Entity& owner, unsigned port) {
  for (const Sensor& sensor : sensors) {
    const std::string name = owner.name + " " + sensor.name;
    addEntity(objects, {owner.index + sensor.number, name, EntityClass::SENSOR, owner.index,
                        static_cast<std::int64_t>(sensor.number), name});
    addSensor(objects, sensor, owner.index, port);
  }
}

} // namespace

MibObjects entityObjects() {
  MibObjects objects;
  const Entity chip = {
      CHIP, "PD69104, Power over Ethernet controller with 4 ports", EntityClass::MODULE, 0, -1, "PSE"};
  addEntity(objects, chip);
  addSensors(objects, chipSensors(), chip, 0);
  for (unsigned port = 0; port < POE_PORTS; port++) {
    const std::string name = portLabel(port, {});
    const Entity entity = {portIndex(port), "PSE " + name, EntityClass::PORT, CHIP, port + 1, name};
    addEntity(objects, entity);
    addSensors(objects, portSensors(), entity, port);
  }
  return objects;
}
