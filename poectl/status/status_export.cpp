#include "poectl/status/status_export.h"

#include "poectl/status/status_text.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

constexpr int INDENT = 2;

Json portJson(const PoePortStatus& port) {
  return {{"operStatus", port.operStatus},
          {"operStatusWord", operStatusWord(port.operStatus)},
          {"detectionStatus", port.detectionStatus},
          {"detectionStatusWord", detectionWord(port.detectionStatus)},
          {"powerClassification", port.powerClassification},
          {"powerClassificationWord", classWord(port.powerClassification)},
          {"powerConsumption", port.powerConsumption},
          {"invalidSignatureCounter", port.invalidSignatureCounter},
          {"powerDeniedCounter", port.powerDeniedCounter},
          {"overLoadCounter", port.overLoadCounter},
          {"underLoadCounter", port.underLoadCounter},
          {"shortCounter", port.shortCounter},
          {"classErrorCounter", port.classErrorCounter}};
}

void addStatus(Json& json, const PoeStatus& status) {
  Json ports = Json::array();
  for (const PoePortStatus& port : status.port) {
    ports.push_back(portJson(port));
  }
  json["mainPower"] = status.mainPower;
  json["mainOperStatus"] = status.mainOperStatus;
  json["mainOperStatusWord"] = mainOperStatusWord(status.mainOperStatus);
  json["reserved"] = status.reserved;
  json["mainConsumption"] = status.mainConsumption;
  json["port"] = ports;
  json["deviceTemperature"] = status.deviceTemperature;
  json["thermalShutdown"] = status.thermalShutdown;
  json["devError"] = status.devError;
}

struct PortMetric {
  const char* name;
  const char* type;
  const char* help;
  std::uint32_t PoePortStatus::*field;
};

constexpr PortMetric PORT_METRICS[] = {
    {"poe_port_oper_status", "gauge",
     "Operational state: 1 disabled, 2 searching, 3 delivering power, 4 fault, 5 test, 6 other fault.",
     &PoePortStatus::operStatus},
    {"poe_port_detection_status", "gauge", "The chip's detection code, 4 is good.",
     &PoePortStatus::detectionStatus},
    {"poe_port_power_classification", "gauge", "Power class plus 1; 0 is no class.",
     &PoePortStatus::powerClassification},
    {"poe_port_power_consumption_watts", "gauge", "Power that the port takes.",
     &PoePortStatus::powerConsumption},
    {"poe_port_invalid_signature_total", "counter", "Invalid signatures since the service started.",
     &PoePortStatus::invalidSignatureCounter},
    {"poe_port_power_denied_total", "counter", "Times that power was denied since the service started.",
     &PoePortStatus::powerDeniedCounter},
    {"poe_port_overload_total", "counter", "Overloads since the service started.",
     &PoePortStatus::overLoadCounter},
    {"poe_port_underload_total", "counter", "Underloads since the service started.",
     &PoePortStatus::underLoadCounter},
    {"poe_port_short_total", "counter", "Shorts since the service started.", &PoePortStatus::shortCounter},
    {"poe_port_class_error_total", "counter", "Classification errors since the service started.",
     &PoePortStatus::classErrorCounter},
};

std::string head(const std::string& name, const std::string& type, const std::string& help) {
  return "# HELP " + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
}

std::string gauge(const std::string& name, const std::string& help, std::int64_t value) {
  return head(name, "gauge", help) + name + " " + std::to_string(value) + "\n";
}

} // namespace

std::string statusJson(const PoeStatus& status) {
  Json json = Json::object();
  addStatus(json, status);
  return json.dump(INDENT) + "\n";
}

std::string statusJsonLine(const std::string& time, unsigned long number, const PoeStatus& status) {
  Json json = {{"time", time}, {"message", number}};
  addStatus(json, status);
  return json.dump() + "\n";
}

std::string statusPrometheus(const PoeStatus& status) {
  std::string text =
      gauge("poe_main_power_watts", "Limit of the active power bank.", status.mainPower) +
      gauge("poe_main_oper_status", "Chip: 0 not yet checked, 1 running, 3 unreachable.",
            status.mainOperStatus) +
      gauge("poe_main_consumption_watts", "Power that all ports take.", status.mainConsumption) +
      gauge("poe_device_temperature_celsius", "Temperature of the chip.", status.deviceTemperature) +
      gauge("poe_thermal_shutdown", "1 while the chip reports thermal shutdown.", status.thermalShutdown) +
      gauge("poe_device_error", "1 when the last transfer of the device status failed.", status.devError);
  for (const PortMetric& metric : PORT_METRICS) {
    text += head(metric.name, metric.type, metric.help);
    for (unsigned port = 0; port < POE_PORTS; port++) {
      text += std::string(metric.name) + "{port=\"" + std::to_string(port) + "\"} " +
              std::to_string(status.port[port].*metric.field) + "\n";
    }
  }
  return text;
}
