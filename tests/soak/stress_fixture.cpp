#include "tests/soak/stress_fixture.h"

#include "tests/support/model/configured_registers.h"
#include "tests/support/process/console_connection.h"

#include <iostream>

namespace {

// Of the allocator's arenas, which keep what they once had.
constexpr long MEMORY_ROOM = 1024; // kB

} // namespace

void measured(const std::string& what, const std::string& value) {
  std::cout << "measured: " << what << ": " << value << std::endl;
}

void StressTest::startPowered(ServiceOptions options) {
  const std::string control = m_directory.file("card");
  options.card.insert(options.card.end(), {"--plug", "0 class=2 watts=6", "--control", control});
  startService(options);
  m_card = std::make_unique<CardClient>(control);
  ConfigSender().send(onePort());
  ASSERT_TRUE(waitForPort0(3));
  ASSERT_EQ(askConsole("help"), "PD69104Engine\n"); // the first connection costs what it costs once
  m_before = footprintOf(service->pid());
  status->waiting();
  m_since = Clock::now();
}

void StressTest::takeMessages() {
  const std::vector<PoeStatus> statuses = status->waiting();
  m_messages += static_cast<unsigned>(statuses.size());
  if (!statuses.empty()) {
    latest = statuses.back();
  }
}

void StressTest::expectPace() {
  takeMessages();
  const double seconds = std::chrono::duration<double>(Clock::now() - m_since).count();
  EXPECT_LE(m_messages, seconds + 1);
#ifdef POE_SANITIZED // service and card are many times slower, and other tests run beside them
  EXPECT_GE(m_messages + 1, seconds / 8);
#else
  EXPECT_GE(m_messages + 1, seconds / 2);
#endif
  measured("cycles in " + std::to_string(seconds) + " s", std::to_string(m_messages));
  m_messages = 0;
  m_since = Clock::now();
}

void StressTest::expectConfigured(const PoeConfig& config) {
  std::string difference;
  EXPECT_TRUE(waitUntil([&] {
    difference = differsFromConfiguration(config, [&](unsigned reg) { return m_card->readRegister(reg); });
    return difference.empty();
  })) << difference;
}

void StressTest::expectNothingLeftOver() {
  const ServiceFootprint now = footprintOf(service->pid());
  EXPECT_EQ(now.threads, m_before.threads);
  EXPECT_EQ(now.descriptors, m_before.descriptors);
  measured("threads, descriptors, private kB",
           std::to_string(now.threads) + ", " + std::to_string(now.descriptors) + ", " +
               std::to_string(m_before.privateMemory) + " before and " + std::to_string(now.privateMemory));
#ifndef POE_SANITIZED // a sanitizer keeps freed memory
  EXPECT_LE(now.privateMemory, m_before.privateMemory + MEMORY_ROOM);
#endif
}

void StressTest::expectUnharmed() {
  ASSERT_TRUE(service->isRunning());
  EXPECT_EQ(askConsole("help"), "PD69104Engine\n");
  EXPECT_NE(askConsole("PD69104Engine poeport 0").find("Oper status"), std::string::npos);
  PoeConfig another = onePort();
  another.bankPowerLimit[0] = 77;
  another.port[1].adminEnable = 1;
  ConfigSender().send(another);
  expectConfigured(another);
  EXPECT_TRUE(waitUntil([&] {
    takeMessages();
    return latest.mainPower == 77 && latest.port[0].operStatus == 3 && latest.port[1].operStatus == 2;
  }));
  expectNothingLeftOver();
}
