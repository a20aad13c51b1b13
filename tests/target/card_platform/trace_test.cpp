// The service's gate of trace lines with the trace object of the card, of which it knows nothing but the
// first field.
#include "components/PoeDriver/diagnostics.h"

#include <cstring>

#include <gtest/gtest.h>

namespace {

class CardTrace : public testing::Test {
protected:
  CardTrace() { g_traceObject = &trace; }
  ~CardTrace() override { g_traceObject = nullptr; }

  // The object's first field.
  std::int32_t* level() const {
    std::int32_t* pointer = nullptr;
    std::memcpy(&pointer, static_cast<const void*>(&trace), sizeof pointer);
    return pointer;
  }
  void setPointer(std::int32_t* pointer) {
    std::memcpy(static_cast<void*>(&trace), &pointer, sizeof pointer);
  }

  TraceObject trace{"Poe", LOG_INFO};
};

TEST_F(CardTrace, WritesLinesUpToTheLevel) {
  EXPECT_TRUE(traceWrites(LOG_CRIT));
  EXPECT_TRUE(traceWrites(LOG_INFO));
  EXPECT_FALSE(traceWrites(LOG_DEBUG));
}

TEST_F(CardTrace, ReadsTheLevelAnewForEachLine) {
  *level() = LOG_DEBUG;
  EXPECT_TRUE(traceWrites(LOG_DEBUG));
  *level() = LOG_EMERG;
  EXPECT_FALSE(traceWrites(LOG_CRIT));
}

TEST_F(CardTrace, WritesNothingWithoutALevel) {
  std::int32_t* const own = level();
  setPointer(nullptr);
  EXPECT_FALSE(traceWrites(LOG_CRIT));
  setPointer(own);
}

} // namespace
