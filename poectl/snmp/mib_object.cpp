#include "poectl/snmp/mib_object.h"

#include "poectl/status/status_field.h"

#include <stdexcept>

namespace {

NumberReader fieldNumber(const StatusField* field, const char* name) {
  if (field == nullptr) {
    throw std::logic_error(std::string("the status record has no field ") + name);
  }
  return [field](const Snapshot& snapshot, unsigned port) {
    return snapshot.knows(*field) ? std::optional(field->read(snapshot.status, port)) : std::nullopt;
  };
}

} // namespace

NumberReader portNumber(const char* field) {
  return fieldNumber(portField(field), field);
}

NumberReader chipNumber(const char* field) {
  return fieldNumber(chipField(field), field);
}

std::function<std::optional<MibValue>(const CardLook&)> numberValue(const char* type, NumberReader number,
                                                                    unsigned port) {
  return [type, number = std::move(number), port](const CardLook& look) -> std::optional<MibValue> {
    const auto value = look.snapshot != nullptr ? number(*look.snapshot, port) : std::nullopt;
    return value ? std::optional(MibValue{type, std::to_string(*value)}) : std::nullopt;
  };
}
