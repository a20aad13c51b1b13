#include "platform/trace_object.h"

#include <cstring>

#include <gtest/gtest.h>
#include <syslog.h>

namespace {

// The pointer to the level, found in the way of a module that knows no more than the first field.
std::int32_t* levelOf(const TraceObject& trace) {
  std::int32_t* level = nullptr;
  std::memcpy(&level, reinterpret_cast<const void*>(&trace), sizeof(level));
  return level;
}

} // namespace

TEST(TraceObject, TheFirstFieldPointsToTheLevelOfThisObject) {
  const TraceObject quiet("Quiet", LOG_ERR);
  const TraceObject loud("Loud", LOG_DEBUG);
  EXPECT_EQ(*levelOf(quiet), LOG_ERR);
  *levelOf(quiet) = LOG_EMERG;
  EXPECT_EQ(*levelOf(loud), LOG_DEBUG);
}

TEST(TraceObject, KnowsItsNameUpTo31Bytes) {
  EXPECT_STREQ(TraceObject("Poe", LOG_INFO).name(), "Poe");
  EXPECT_EQ(TraceObject(std::string(100, 'n'), LOG_INFO).name(), std::string(31, 'n'));
}

TEST(TraceObject, TheProcessHasNoneToBeginWith) {
  EXPECT_EQ(g_traceObject, nullptr);
}
