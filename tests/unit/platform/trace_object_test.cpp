#include "platform/trace_object.h"

#include <cstring>

#include <gtest/gtest.h>
#include <syslog.h>

namespace {

// The pointer to the level, found in the way of a module that knows no more than the first field.
std::int32_t* levelThroughFirstField(const TraceObject& trace) {
  std::int32_t* level = nullptr;
  std::memcpy(&level, reinterpret_cast<const void*>(&trace), sizeof(level));
  return level;
}

} // namespace

TEST(TraceObject, WritesPrioritiesUpToItsLevel) {
  const TraceObject trace("Poe", LOG_INFO);
  EXPECT_TRUE(trace.writes(LOG_EMERG));
  EXPECT_TRUE(trace.writes(LOG_INFO));
  EXPECT_FALSE(trace.writes(LOG_DEBUG));
}

TEST(TraceObject, ANewLevelCountsFromNowOn) {
  TraceObject trace("Poe", LOG_INFO);
  trace.setLevel(LOG_DEBUG);
  EXPECT_TRUE(trace.writes(LOG_DEBUG));
  trace.setLevel(LOG_ERR);
  EXPECT_TRUE(trace.writes(LOG_ERR));
  EXPECT_FALSE(trace.writes(LOG_WARNING));
}

TEST(TraceObject, TheFirstFieldPointsToTheLevel) {
  TraceObject trace("Poe", LOG_INFO);
  EXPECT_EQ(*levelThroughFirstField(trace), LOG_INFO);
  trace.setLevel(LOG_ERR);
  EXPECT_EQ(*levelThroughFirstField(trace), LOG_ERR);
}

TEST(TraceObject, EachObjectHasALevelOfItsOwn) {
  TraceObject quiet("Quiet", LOG_ERR);
  const TraceObject loud("Loud", LOG_DEBUG);
  quiet.setLevel(LOG_EMERG);
  EXPECT_TRUE(loud.writes(LOG_DEBUG));
}

TEST(TraceObject, KnowsItsName) {
  EXPECT_EQ(TraceObject("Poe", LOG_INFO).name(), "Poe");
}

TEST(TraceObject, TheProcessHasNoneToBeginWith) {
  EXPECT_EQ(g_traceObject, nullptr);
}
