// The gate of the trace lines and the software-error pair.
#include "components/PoeDriver/diagnostics.h"
#include "tests/support/doubles/log_capture.h"

#include <cstring>

namespace {

class TraceGate : public StrictLogTest {
protected:
  ~TraceGate() override { g_traceObject = nullptr; }

  // The lines that pass the gate when one of each priority is written.
  LogLines writtenLines() {
    TRACE(LOG_CRIT, "[CRITICAL] %d\n", 2);
    TRACE(LOG_ERR, "[ERROR] %d\n", 3);
    TRACE(LOG_INFO, "[INFO] no argument");
    TRACE(LOG_DEBUG, "[DEBUG1] %d\n", 7);
    return takeLog();
  }

  const LogLines all = {
      {2, "[CRITICAL] 2\n"}, {3, "[ERROR] 3\n"}, {6, "[INFO] no argument"}, {7, "[DEBUG1] 7\n"}};
};

TEST_F(TraceGate, LetsNothingThroughWithoutATraceObject) {
  g_traceObject = nullptr;
  EXPECT_EQ(writtenLines(), LogLines{});
}

TEST_F(TraceGate, LetsNothingThroughWithoutALevel) {
  TraceObject trace("Poe", 7);
  g_traceObject = &trace;
  std::memset(static_cast<void*>(&trace), 0, sizeof(std::int32_t*)); // the level pointer is the first field
  EXPECT_EQ(writtenLines(), LogLines{});
}

TEST_F(TraceGate, OpensForALineWhenTheLevelReachesItsPriority) {
  const std::size_t passing[] = {0, 0, 1, 2, 2, 2, 3, 4, 4};
  for (std::int32_t level = 0; level <= 8; level++) {
    TraceObject trace("Poe", level);
    g_traceObject = &trace;
    LogLines expected(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(passing[level]));
    EXPECT_EQ(writtenLines(), expected) << "level " << level;
  }
}

TEST_F(TraceGate, ReadsTheLevelThroughTheFirstFieldOfTheObject) {
  TraceObject trace("Poe", 7);
  g_traceObject = &trace;
  std::int32_t elsewhere = 2;
  std::int32_t* const level = &elsewhere;
  std::memcpy(static_cast<void*>(&trace), &level, sizeof level);
  EXPECT_EQ(writtenLines(), (LogLines{{2, "[CRITICAL] 2\n"}}));
}

TEST_F(TraceGate, DoesNotHoldBackSoftwareErrors) {
  g_traceObject = nullptr;
  SOFTWARE_ERROR("components/PoeDriver/main", 60, "Failed to create wdmon\n");
  EXPECT_EQ(takeLog(), softwareError("main", 60, "Failed to create wdmon\n"));
}

} // namespace
