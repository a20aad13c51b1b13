// The reports of the service's console, and the look at the card that they give together.
#include "poectl/console/console_client.h"
#include "poectl/console/console_report.h"
#include "poectl/console/console_snapshot.h"
#include "poectl/status/status_export.h"
#include "tests/support/error_text.h"
#include "tests/unit/poectl/console_sample.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

using namespace console_sample;

std::string with(std::string report, const std::string& from, const std::string& to) {
  const std::size_t place = report.find(from);
  EXPECT_NE(place, std::string::npos) << from;
  return report.replace(place, from.size(), to);
}

std::string refusal(const std::function<void()>& parse) {
  return errorText<ConsoleError>([&] { parse(); });
}

struct ParserRow {
  const char* name;
  const std::string& report;
  void (*parse)(const std::string& reply);
};

const ParserRow PARSERS[] = {
    {"Info", INFO, [](const std::string& reply) { parseInfo(reply); }},
    {"Device", DEVICE, [](const std::string& reply) { parseDevice(reply); }},
    {"Channel", CHANNEL, [](const std::string& reply) { parseChannel(reply, 1); }},
    {"PoePort", POEPORT, [](const std::string& reply) { parsePoePort(reply, 1); }},
};

class ConsoleReport : public ::testing::TestWithParam<ParserRow> {};

TEST_P(ConsoleReport, IsRefusedWhereverItIsCut) {
  const ParserRow& row = GetParam();
  ASSERT_EQ(refusal([&] { row.parse(row.report); }), "accepted");
  for (std::size_t length = 0; length + 1 < row.report.size(); length++) {
    const std::string error = refusal([&] { row.parse(row.report.substr(0, length)); });
    EXPECT_EQ(error.rfind("the console's report '", 0), 0U) << length << ": " << error;
    EXPECT_EQ(error.find('\n'), std::string::npos) << length;
  }
}

INSTANTIATE_TEST_SUITE_P(Parsers, ConsoleReport, ::testing::ValuesIn(PARSERS),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ParseInfo, TakesEngineDriverAndBudget) {
  const InfoReport info = parseInfo(INFO);
  EXPECT_EQ(info.state, "ACTIVE");
  EXPECT_EQ(info.driverMode, "NORMAL");
  EXPECT_FALSE(info.busError);
  EXPECT_EQ(info.busErrors, 3U);
  EXPECT_EQ(info.mainVoltage, 541U);
  EXPECT_EQ(info.consumption, 28U);
  EXPECT_EQ(info.minShutdownVoltage, 442U);
  EXPECT_TRUE(info.isStatic);
  EXPECT_EQ(info.bank, 2U);
  EXPECT_EQ(info.bankLimit, 100U);
  EXPECT_EQ(info.bankRegisters, (std::array<std::uint32_t, 8>{10, 11, 100, 13, 14, 15, 16, 0}));
}

TEST(ParseDevice, TakesTemperatureAndErrors) {
  const DeviceReport device = parseDevice(DEVICE);
  EXPECT_EQ(device.id, 2U);
  EXPECT_EQ(device.revision, 1U);
  EXPECT_EQ(device.temperature, -5);
  EXPECT_FALSE(device.thermalShutdown);
  EXPECT_TRUE(device.devError);
  EXPECT_EQ(device.busErrors, 3U);
}

TEST(ParseChannel, TakesFlagsAndFaults) {
  const ChannelReport channel = parseChannel(CHANNEL, 1);
  EXPECT_TRUE(channel.enabled);
  EXPECT_FALSE(channel.powerGood);
  EXPECT_FALSE(channel.inPmMode);
  EXPECT_FALSE(channel.passedCapacitorDetection);
  EXPECT_EQ(faultsOf(channel), "hot MOSFET, detection failed");
  EXPECT_EQ(faultsOf(parseChannel(
                with(CHANNEL, "fet_error               = FALSE", "fet_error               = TRUE"), 1)),
            "FET error, hot MOSFET, detection failed");
}

TEST(ParseChannel, TakesTheCodeOfEachWord) {
  const char* const detections[] = {"UNKNOWN", "SHORT",         "CPD_TOO_HIGH", "RSIG_TOO_LOW",
                                    "GOOD",    "RSIG_TOO_HIGH", "OPEN_CIRCUIT", "ILLEGAL"};
  for (std::uint32_t code = 0; code < std::size(detections); code++) {
    EXPECT_EQ(parseChannel(with(CHANNEL, "GOOD", detections[code]), 1).detection, code);
  }
  const std::pair<const char*, std::uint32_t> classes[] = {
      {"UNKNOWN", 0}, {"CLASS_RESERVED", 0}, {"CLASS_OVERCURRENT", 0}, {"CLASS_0", 1},
      {"CLASS_1", 2}, {"CLASS_2", 3},        {"CLASS_3", 4},           {"CLASS_4", 5}};
  for (const auto& [word, code] : classes) {
    EXPECT_EQ(parseChannel(with(CHANNEL, "CLASS_4", word), 1).classification, code) << word;
  }
}

TEST(ParsePoePort, LeavesOutWhatTheServiceCouldNotRead) {
  const PoePortReport whole = parsePoePort(POEPORT, 1);
  EXPECT_EQ(whole.limit, 30U);
  EXPECT_EQ(whole.priority, 2U) << "the report shows one less than was configured";
  EXPECT_TRUE(whole.measurements);
  const PoePortReport none = parsePoePort(POEPORT_STATE + POEPORT_COUNTERS, 1);
  EXPECT_FALSE(none.limit || none.priority || none.measurements);
  EXPECT_EQ(none.operStatus, 3U);
  EXPECT_EQ(none.counters, (std::array<std::uint32_t, 6>{1, 2, 3, 4, 5, 4294967295}));
}

TEST(ConsoleReportText, IsRefusedWithItsReason) {
  const std::string channel = "the console's report 'channel 1' ";
  const std::string info = "the console's report 'info' ";
  const std::pair<std::function<void()>, std::string> rows[] = {
      {[] { parseChannel("No such object: PD69104Engine\n\n", 1); },
       channel + "begins with 'No such object: PD69104Engine' and not with 'channel 1'"},
      {[] { parseChannel(with(CHANNEL, "channel 1", "channel 2"), 1); },
       channel + "begins with 'channel 2' and not with 'channel 1'"},
      {[] { parseChannel("channel 1\n============\nNo POE device found\n\n", 1); },
       channel + "is 'No POE device found': the service has no driver"},
      {[] { parseChannel(with(CHANNEL, "GOOD", "SPLENDID"), 1); },
       channel + "has 'SPLENDID' for 'det_status', which is not understood"},
      {[] { parseChannel(with(CHANNEL, "power_good              = FALSE", "power_good = PERHAPS"), 1); },
       channel + "has 'PERHAPS' for 'power_good', which is not understood"},
      {[] { parsePoePort(POEPORT_STATE + POEPORT_LIMITS.substr(0, 33) + POEPORT_COUNTERS, 1); },
       "the console's report 'poeport 1' has no line 'temp port power limit (W)'"},
      {[] { parsePoePort(with(POEPORT, "DELIVERINGPOWER", "HAPPY"), 1); },
       "the console's report 'poeport 1' has 'HAPPY' for 'Oper status', which is not understood"},
      {[] { parseInfo(with(INFO, "= 54.1", "= 54")); },
       info + "has '54' for 'main voltage (V)', which is not understood"},
      {[] { parseInfo(with(INFO, "= 54.1", "= .1")); }, "accepted"},
      {[] { parseInfo(with(INFO, "= 100\n", "= 100 \n")); },
       info + "has '100 ' for 'power_limit (this bank)', which is not understood"},
      {[] { parseInfo(with(INFO, "= 28", "= 4294967296")); },
       info + "has '4294967296' for 'power_consumption', which is not understood"},
  };
  for (const auto& [parse, reason] : rows) {
    EXPECT_EQ(refusal(parse), reason);
  }
}

ConsoleReplies replies() {
  ConsoleReplies all{parseDevice(DEVICE), {}, parseInfo(INFO), {}};
  all.channels.fill(parseChannel(CHANNEL, 1));
  all.ports.emplace();
  all.ports->fill(parsePoePort(POEPORT, 1));
  return all;
}

TEST(SnapshotOfReplies, HasTheWholeRecordAndTheDetails) {
  const Snapshot snapshot = snapshotOf(replies());
  EXPECT_EQ(snapshot.source, Snapshot::Source::CONSOLE);
  EXPECT_EQ(snapshot.transfers, 49U);
  EXPECT_TRUE(snapshot.missing.empty());
  EXPECT_EQ(snapshot.status.mainPower, 100U);
  EXPECT_EQ(snapshot.status.mainOperStatus, 1U);
  EXPECT_EQ(snapshot.status.mainConsumption, 28U);
  EXPECT_EQ(snapshot.status.deviceTemperature, -5);
  EXPECT_EQ(snapshot.status.thermalShutdown, 0);
  EXPECT_EQ(snapshot.status.devError, 1);
  const std::string port = R"({"operStatus":3,"operStatusWord":"DELIVERINGPOWER","detectionStatus":4,)"
                           R"("detectionStatusWord":"good","powerClassification":5,)"
                           R"("powerClassificationWord":"4","powerConsumption":22,)"
                           R"("invalidSignatureCounter":1,"powerDeniedCounter":2,"overLoadCounter":3,)"
                           R"("underLoadCounter":4,"shortCounter":5,"classErrorCounter":4294967295,)"
                           R"("enabled":true,"limit_w":30,"priority":2,"voltage_dv":538,"current_ma":407,)"
                           R"("powered":true,"faults":"hot MOSFET, detection failed"})";
  EXPECT_NE(snapshotJsonLine(snapshot).find("[" + port + "," + port + "," + port + "," + port + "]"),
            std::string::npos)
      << snapshotJsonLine(snapshot);
}

TEST(SnapshotOfReplies, TellsAChipThatDoesNotAnswerFromOneThatHasFailedOnce) {
  const auto state = [](bool busError, bool devError, const char* engine) {
    ConsoleReplies all = replies();
    all.info->busError = busError;
    all.info->state = engine;
    all.device.devError = devError;
    return snapshotOf(all).status.mainOperStatus;
  };
  EXPECT_EQ(state(true, true, "ACTIVE"), 3U);
  EXPECT_EQ(state(true, false, "ACTIVE"), 1U);
  EXPECT_EQ(state(false, true, "ACTIVE"), 1U);
  EXPECT_EQ(state(false, false, "IDLE"), 0U);
}

TEST(SnapshotOfReplies, MissesTheConsumptionOfAllPortsWhenOneCannotBeRead) {
  ConsoleReplies all = replies();
  (*all.ports)[2].measurements.reset();
  const Snapshot snapshot = snapshotOf(all);
  EXPECT_EQ(snapshot.missing, std::set<std::string>{"powerConsumption"});
  EXPECT_EQ(snapshot.status.port[0].powerConsumption, 0U);
  EXPECT_EQ(snapshot.details[1].voltageDv, 538U);
  EXPECT_FALSE(snapshot.details[2].voltageDv);
}

TEST(SnapshotOfReplies, MissesWhatNeedsTheBusWithoutIt) {
  ConsoleReplies all = replies();
  all.info.reset();
  all.ports.reset();
  const Snapshot snapshot = snapshotOf(all);
  EXPECT_EQ(snapshot.transfers, 0U);
  EXPECT_EQ(
      snapshot.missing,
      (std::set<std::string>{"mainPower", "mainOperStatus", "mainConsumption", "operStatus",
                             "powerConsumption", "invalidSignatureCounter", "powerDeniedCounter",
                             "overLoadCounter", "underLoadCounter", "shortCounter", "classErrorCounter"}));
  EXPECT_EQ(snapshot.status.port[3].detectionStatus, 4U);
  EXPECT_EQ(snapshot.status.port[3].powerClassification, 5U);
  EXPECT_EQ(snapshot.details[3].powered, true);
  EXPECT_FALSE(snapshot.details[3].enabled);
}

} // namespace
