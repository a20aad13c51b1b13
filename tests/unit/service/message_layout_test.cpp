// Where each field of the two messages stands. MessageBytes has whole messages in the machine's byte order.
#include "components/PoeDriver/poe_messages.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <vector>

namespace {

// The offsets of the fields of a message, in the order of their declaration.
using Offsets = std::vector<std::size_t>;

TEST(ConfigurationMessage, HasEveryFieldAtItsOffset) {
  EXPECT_EQ(sizeof(PoeConfigMessage), 1124U);
  EXPECT_EQ((Offsets{offsetof(PoeConfigMessage, msgId), offsetof(PoeConfigMessage, config)}),
            (Offsets{0, 4}));
  EXPECT_EQ((Offsets{offsetof(PoeConfig, bankPowerLimit), offsetof(PoeConfig, port)}), (Offsets{16, 48}));
  EXPECT_EQ(sizeof PoeConfig::bankPowerLimit, 8 * 4U);
  EXPECT_EQ(sizeof(PoePortConfig), 268U);
  EXPECT_EQ((Offsets{offsetof(PoePortConfig, adminEnable), offsetof(PoePortConfig, priority),
                     offsetof(PoePortConfig, powerLimit)}),
            (Offsets{0, 4, 8}));
  EXPECT_EQ(sizeof PoePortConfig::adminEnable, 1U);
}

TEST(StatusMessage, HasEveryFieldAtItsOffset) {
  EXPECT_EQ(sizeof(PoeStatusMessage), 188U);
  EXPECT_EQ((Offsets{offsetof(PoeStatusMessage, msgId), offsetof(PoeStatusMessage, status)}),
            (Offsets{0, 4}));
  EXPECT_EQ((Offsets{offsetof(PoeStatus, mainPower), offsetof(PoeStatus, mainOperStatus),
                     offsetof(PoeStatus, reserved), offsetof(PoeStatus, mainConsumption),
                     offsetof(PoeStatus, port), offsetof(PoeStatus, deviceTemperature),
                     offsetof(PoeStatus, thermalShutdown), offsetof(PoeStatus, devError)}),
            (Offsets{0, 4, 8, 12, 16, 176, 180, 181}));
  EXPECT_EQ(sizeof(PoePortStatus), 10 * 4U);
  EXPECT_EQ(
      (Offsets{offsetof(PoePortStatus, operStatus), offsetof(PoePortStatus, detectionStatus),
               offsetof(PoePortStatus, powerClassification), offsetof(PoePortStatus, powerConsumption),
               offsetof(PoePortStatus, invalidSignatureCounter), offsetof(PoePortStatus, powerDeniedCounter),
               offsetof(PoePortStatus, overLoadCounter), offsetof(PoePortStatus, underLoadCounter),
               offsetof(PoePortStatus, shortCounter), offsetof(PoePortStatus, classErrorCounter)}),
      (Offsets{0, 4, 8, 12, 16, 20, 24, 28, 32, 36}));
}

TEST(Messages, HaveTheirNumbers) {
  EXPECT_EQ(MSGID_CONFIG, 0U);
  EXPECT_EQ(MSGID_STATUS, 17U);
}

} // namespace
