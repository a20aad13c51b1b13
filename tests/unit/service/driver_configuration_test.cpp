// The conversions of the driver's setters. What each writes for which port is compared with the model in
// driver_faults_test.cpp.
#include "tests/unit/service/driver_fixture.h"

namespace {

using PoeSetPortTlim = DriverTest;

TEST_F(PoeSetPortTlim, RoundsToStepsOf1710MicrosecondsAndClampsToFifteenWithoutAMessage) {
  const std::pair<unsigned, unsigned> rows[] = {
      {0, 0},   {1, 1},   {2, 1},   {3, 2},   {4, 2},   {5, 3},    {9, 5},     {24, 14},        {25, 15},
      {26, 15}, {27, 15}, {28, 15}, {29, 15}, {60, 15}, {100, 15}, {1000, 15}, {0xFFFFFFFF, 15}};
  for (const auto& [milliseconds, steps] : rows) {
    EXPECT_TRUE(driver.PoeSetPortTlim(0, milliseconds));
    EXPECT_EQ(registers[0x1E], steps) << milliseconds << " ms";
  }
}

using PoeSetPortHighPower = DriverTest;

TEST_F(PoeSetPortHighPower, RoundsTheCurrentToTheStepsOfItsRange) {
  const std::pair<unsigned, unsigned> rows[] = {{0, 0xC0},    {9, 0xC0},    {10, 0xC1},   {28, 0xC1},
                                                {29, 0xC2},   {375, 0xD4},  {1171, 0xFE}, {1172, 0xFF},
                                                {1181, 0xFF}, {1182, 0xA0}, {1218, 0xA0}, {1219, 0xA1},
                                                {2343, 0xBE}, {2344, 0xBF}, {2381, 0xBF}};
  for (const auto& [milliAmps, value] : rows) {
    EXPECT_TRUE(driver.PoeSetPortHighPower(1, 1, 1, 0, milliAmps, 1));
    EXPECT_EQ(registers[0x4C], value) << milliAmps << " mA";
  }
}

TEST_F(PoeSetPortHighPower, ReportsACurrentBeyondTheRangeAndWritesTheMost) {
  for (const unsigned milliAmps : {2382U, 100000U, 0xFFFFFFFFU}) {
    EXPECT_TRUE(driver.PoeSetPortHighPower(0, 1, 1, 0, milliAmps, 1));
    EXPECT_EQ(registers[0x47], 0xBF);
    EXPECT_EQ(takeLog(), driverError(1148, "Range Error: Icut too large, truncated [Icut=" +
                                               std::to_string(static_cast<int>(milliAmps)) + " ]\n"));
  }
}

} // namespace
