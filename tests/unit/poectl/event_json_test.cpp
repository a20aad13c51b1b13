// Events and messages as lines of JSON.
#include "poectl/status/event_json.h"

#include <gtest/gtest.h>

namespace {

const std::string HEAD = R"({"time":"T","message":7,"event":)";

TEST(EventJson, NamesTheEventAndItsNumbers) {
  const std::pair<StatusEvent, const char*> rows[] = {
      {{EventKind::STATE, 2, 0, 2, 3}, R"("state","port":2,"from":"SEARCHING","to":"DELIVERINGPOWER")"},
      {{EventKind::COUNTER, 1, 5, 4, 6},
       R"("counter","port":1,"counter":"classErrorCounter","increment":2,"value":6)"},
      {{EventKind::CHIP_LOST}, R"("chipLost")"},
      {{EventKind::CHIP_RECOVERED}, R"("chipRecovered")"},
      {{EventKind::THERMAL_SHUTDOWN}, R"("thermalShutdown")"},
      {{EventKind::THERMAL_SHUTDOWN_OVER}, R"("thermalShutdownOver")"},
      {{EventKind::BUS_ERROR}, R"("busError")"},
      {{EventKind::BUS_ERROR_OVER}, R"("busErrorOver")"},
      {{EventKind::SERVICE_RESTARTED}, R"("serviceRestarted")"},
      {{EventKind::STALE, 0, 0, 0, 0, std::chrono::milliseconds(2500)}, R"("stale","silenceSeconds":2.5)"},
      {{EventKind::RESUMED, 0, 0, 0, 0, std::chrono::milliseconds(12345)},
       R"("resumed","silenceSeconds":12.345)"},
  };
  for (const auto& [event, json] : rows) {
    EXPECT_EQ(eventJsonLine("T", 7, event), HEAD + json + "}\n");
  }
}

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
