// Events and messages as lines of JSON.
#include "poectl/status/event_json.h"

#include <gtest/gtest.h>

namespace {

const std::string HEAD = R"({"time":"T","message":7,"event":)";

struct Line {
  const char* name;
  StatusEvent event;
  const char* json; // after HEAD
};

class EventJsonLine : public ::testing::TestWithParam<Line> {};

TEST_P(EventJsonLine, NamesTheEventAndItsNumbers) {
  EXPECT_EQ(eventJsonLine("T", 7, GetParam().event), HEAD + GetParam().json + "}\n");
}

INSTANTIATE_TEST_SUITE_P(
    Each, EventJsonLine,
    ::testing::Values(
        Line{"State",
             {EventKind::STATE, 2, 0, 2, 3},
             R"("state","port":2,"from":"SEARCHING","to":"DELIVERINGPOWER")"},
        Line{"Counter",
             {EventKind::COUNTER, 1, 5, 4, 6},
             R"("counter","port":1,"counter":"classErrorCounter","increment":2,"value":6)"},
        Line{"ChipLost", {EventKind::CHIP_LOST}, R"("chipLost")"},
        Line{"ChipRecovered", {EventKind::CHIP_RECOVERED}, R"("chipRecovered")"},
        Line{"ThermalShutdown", {EventKind::THERMAL_SHUTDOWN}, R"("thermalShutdown")"},
        Line{"ThermalShutdownOver", {EventKind::THERMAL_SHUTDOWN_OVER}, R"("thermalShutdownOver")"},
        Line{"BusError", {EventKind::BUS_ERROR}, R"("busError")"},
        Line{"BusErrorOver", {EventKind::BUS_ERROR_OVER}, R"("busErrorOver")"},
        Line{"ServiceRestarted", {EventKind::SERVICE_RESTARTED}, R"("serviceRestarted")"},
        Line{"Stale",
             {EventKind::STALE, 0, 0, 0, 0, std::chrono::milliseconds(2500)},
             R"("stale","silenceSeconds":2.5)"},
        Line{"Resumed",
             {EventKind::RESUMED, 0, 0, 0, 0, std::chrono::milliseconds(12345)},
             R"("resumed","silenceSeconds":12.345)"}),
    [](const auto& row) { return row.param.name; });

TEST(EventJson, NamesTheConsoleAsItsSource) {
  EXPECT_EQ(eventJsonLine("T", 7, {EventKind::CHIP_LOST}, Snapshot::Source::CONSOLE),
            R"({"time":"T","message":7,"event":"chipLost","source":"console"})"
            "\n");
}

TEST(EventJson, HasTheNameOfAPortAfterItsNumber) {
  EXPECT_EQ(
      eventJsonLine("T", 7, {EventKind::STATE, 1, 0, 2, 3}, Snapshot::Source::QUEUE, {"", "door", "", ""}),
      HEAD + R"("state","port":1,"name":"door","from":"SEARCHING","to":"DELIVERINGPOWER"})" + "\n");
}

} // namespace
