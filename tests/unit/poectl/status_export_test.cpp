// Status messages as JSON and for Prometheus.
#include "poectl/status/status_export.h"

#include <gtest/gtest.h>

namespace {

// Every field has a value of its own.
PoeStatus sample() {
  PoeStatus status{};
  status.mainPower = 100;
  status.mainOperStatus = 1;
  status.mainConsumption = 28;
  status.port[0] = {3, 4, 5, 22, 11, 12, 13, 14, 15, 4294967295};
  status.port[1] = {2, 6, 0, 0, 21, 23, 24, 25, 26, 27};
  status.port[2] = {1, 0, 1, 1, 31, 32, 33, 34, 35, 36};
  status.port[3] = {7, 8, 6, 5, 41, 42, 43, 44, 45, 46};
  status.deviceTemperature = -5;
  status.thermalShutdown = 1;
  return status;
}

TEST(SnapshotJson, NamesTheFieldsAndTheCodes) {
  Snapshot snapshot = snapshotOfMessage(42, sample());
  snapshot.begin = snapshot.end = Snapshot::Time(std::chrono::milliseconds(1'700'000'000'000));
  std::string json = snapshotJson(snapshot);
  const std::size_t second = json.find("    {\n      \"operStatus\": 2");
  json.erase(second, json.find("    {\n      \"operStatus\": 7") - second); // ports 1 and 2
  EXPECT_EQ(json, R"({
  "version": 1,
  "time": "2023-11-14T22:13:20.000Z",
  "message": 42,
  "source": "queue",
  "transfers": 0,
  "span_ms": 0,
  "mainPower": 100,
  "mainOperStatus": 1,
  "mainOperStatusWord": "running",
  "reserved": 0,
  "mainConsumption": 28,
  "deviceTemperature": -5,
  "thermalShutdown": 1,
  "devError": 0,
  "port": [
    {
      "operStatus": 3,
      "operStatusWord": "DELIVERINGPOWER",
      "detectionStatus": 4,
      "detectionStatusWord": "good",
      "powerClassification": 5,
      "powerClassificationWord": "4",
      "powerConsumption": 22,
      "invalidSignatureCounter": 11,
      "powerDeniedCounter": 12,
      "overLoadCounter": 13,
      "underLoadCounter": 14,
      "shortCounter": 15,
      "classErrorCounter": 4294967295
    },
    {
      "operStatus": 7,
      "operStatusWord": "?",
      "detectionStatus": 8,
      "detectionStatusWord": "?",
      "powerClassification": 6,
      "powerClassificationWord": "?",
      "powerConsumption": 5,
      "invalidSignatureCounter": 41,
      "powerDeniedCounter": 42,
      "overLoadCounter": 43,
      "underLoadCounter": 44,
      "shortCounter": 45,
      "classErrorCounter": 46
    }
  ]
}
)");
}

TEST(SnapshotJson, HasWhatItsSourceKnowsAndNothingElse) {
  Snapshot snapshot;
  snapshot.source = Snapshot::Source::CONSOLE;
  snapshot.begin = Snapshot::Time(std::chrono::milliseconds(1'700'000'000'000));
  snapshot.end = snapshot.begin + std::chrono::milliseconds(123);
  snapshot.transfers = 49;
  snapshot.status = sample();
  for (const StatusField& field : CHIP_FIELDS) {
    snapshot.missing.insert(field.name);
  }
  forEachPortField([&](const StatusField& field) { snapshot.missing.insert(field.name); });
  snapshot.missing.erase("mainPower");
  snapshot.missing.erase("powerConsumption");
  snapshot.names[1] = "door";
  snapshot.details[1] = {true, 30, 2, 540, 407, {}, {}};
  EXPECT_EQ(
      snapshotJsonLine(snapshot),
      R"({"version":1,"time":"2023-11-14T22:13:20.123Z","source":"console","transfers":49,"span_ms":123,)"
      R"("mainPower":100,"port":[{"powerConsumption":22},{"name":"door","powerConsumption":0,)"
      R"("enabled":true,"limit_w":30,"priority":2,"voltage_dv":540,"current_ma":407},)"
      R"({"powerConsumption":1},{"powerConsumption":5}]})"
      "\n");
}

TEST(SnapshotPrometheus, HasTheNameOfAPortAsALabel) {
  Snapshot snapshot = snapshotOfMessage(1, sample());
  snapshot.names[1] = R"(door "A\1")";
  EXPECT_NE(
      snapshotPrometheus(snapshot).find("poe_port_oper_status{port=\"1\",name=\"door \\\"A\\\\1\\\"\"} 2\n"),
      std::string::npos);
}

TEST(SnapshotPrometheus, HasAMetricForEveryField) {
  Snapshot snapshot = snapshotOfMessage(1, sample());
  snapshot.begin = snapshot.end = Snapshot::Time(std::chrono::milliseconds(1'700'000'000'012));
  // One value for the chip, or one for each port.
  const std::pair<std::string, std::vector<const char*>> metrics[] = {
      {"poe_main_power_watts", {"100"}},
      {"poe_main_oper_status", {"1"}},
      {"poe_main_consumption_watts", {"28"}},
      {"poe_device_temperature_celsius", {"-5"}},
      {"poe_thermal_shutdown", {"1"}},
      {"poe_device_error", {"0"}},
      {"poe_port_oper_status", {"3", "2", "1", "7"}},
      {"poe_port_detection_status", {"4", "6", "0", "8"}},
      {"poe_port_power_classification", {"5", "0", "1", "6"}},
      {"poe_port_power_consumption_watts", {"22", "0", "1", "5"}},
      {"poe_port_invalid_signature_total", {"11", "21", "31", "41"}},
      {"poe_port_power_denied_total", {"12", "23", "32", "42"}},
      {"poe_port_overload_total", {"13", "24", "33", "43"}},
      {"poe_port_underload_total", {"14", "25", "34", "44"}},
      {"poe_port_short_total", {"15", "26", "35", "45"}},
      {"poe_port_class_error_total", {"4294967295", "27", "36", "46"}},
  };
  std::string expected = "# TYPE poe_snapshot_transfers gauge\n"
                         "poe_snapshot_transfers{source=\"queue\"} 0\n"
                         "# TYPE poe_snapshot_span_seconds gauge\n"
                         "poe_snapshot_span_seconds{source=\"queue\"} 0.000\n"
                         "# TYPE poe_snapshot_timestamp_seconds gauge\n"
                         "poe_snapshot_timestamp_seconds{source=\"queue\"} 1700000000.012\n";
  for (const auto& [name, values] : metrics) {
    const bool isCounter = name.find("_total") != std::string::npos;
    expected += "# TYPE " + name + (isCounter ? " counter\n" : " gauge\n");
    for (std::size_t port = 0; port < values.size(); port++) {
      const std::string label = values.size() == 1 ? "" : "{port=\"" + std::to_string(port) + "\"}";
      expected += name + label + " " + values[port] + "\n";
    }
  }
  std::string metricsWithoutHelp = snapshotPrometheus(snapshot);
  for (std::size_t help = 0; (help = metricsWithoutHelp.find("# HELP ")) != std::string::npos;) {
    metricsWithoutHelp.erase(help, metricsWithoutHelp.find('\n', help) + 1 - help);
  }
  EXPECT_EQ(metricsWithoutHelp, expected);
}

TEST(SnapshotPrometheus, HasTheDetailsOfThePortsThatHaveThem) {
  Snapshot snapshot = snapshotOfMessage(1, sample());
  snapshot.source = Snapshot::Source::CONSOLE;
  snapshot.period = std::chrono::milliseconds(10'500);
  snapshot.names[1] = "door";
  snapshot.details[1] = {true, 30, 2, 540, 1007, false, "none"};
  snapshot.details[3].enabled = false;
  const std::string metrics = snapshotPrometheus(snapshot);
  EXPECT_NE(metrics.find("\npoe_snapshot_period_seconds{source=\"console\"} 10.500\n"), std::string::npos);
  const std::string last = "poe_port_class_error_total{port=\"3\"} 46\n";
  EXPECT_EQ(metrics.substr(metrics.find(last) + last.size()),
            R"(# HELP poe_port_enabled 1 when the configuration enables the port.
# TYPE poe_port_enabled gauge
poe_port_enabled{port="1",name="door"} 1
poe_port_enabled{port="3"} 0
# HELP poe_port_limit_watts Power limit of the port by the configuration.
# TYPE poe_port_limit_watts gauge
poe_port_limit_watts{port="1",name="door"} 30
# HELP poe_port_priority Priority of the port by the configuration: 1 is served first.
# TYPE poe_port_priority gauge
poe_port_priority{port="1",name="door"} 2
# HELP poe_port_voltage_volts Voltage at the port.
# TYPE poe_port_voltage_volts gauge
poe_port_voltage_volts{port="1",name="door"} 54.0
# HELP poe_port_current_amperes Current that the port takes.
# TYPE poe_port_current_amperes gauge
poe_port_current_amperes{port="1",name="door"} 1.007
# HELP poe_port_powered 1 when the chip has switched the power of the port on.
# TYPE poe_port_powered gauge
poe_port_powered{port="1",name="door"} 0
)");
}

TEST(SnapshotPrometheus, LeavesOutWhatIsMissing) {
  Snapshot snapshot = snapshotOfMessage(1, sample());
  snapshot.missing = {"mainPower", "shortCounter"};
  const std::string metrics = snapshotPrometheus(snapshot);
  EXPECT_EQ(metrics.find("poe_main_power_watts"), std::string::npos);
  EXPECT_EQ(metrics.find("poe_port_short_total"), std::string::npos);
  EXPECT_NE(metrics.find("\npoe_port_class_error_total{port=\"3\"} 46\n"), std::string::npos);
}

} // namespace
