// What the stress tests share: the service on a card whose registers the test can read, and the check that
// the service afterwards works and holds no more threads, descriptors or memory.
#pragma once

#include "poectl/card/card_client.h"
#include "tests/soak/service_footprint.h"
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/support/process/wait_until.h"

#include <chrono>
#include <memory>
#include <string>

using Clock = std::chrono::steady_clock;

// POE_STRESS=long makes these tests as long as their documents say; the ordinary ones are short.
template <typename Amount>
Amount shortOrLong(Amount brief, Amount full) {
  const char* const wish = std::getenv("POE_STRESS");
  return wish != nullptr && std::string(wish) == "long" ? full : brief;
}

// A figure that the documents may quote.
void measured(const std::string& what, const std::string& value);

class StressTest : public ServiceTest {
protected:
  // Starts the service with a device in port 0 and the configuration of onePort(), waits until the port has
  // its power, and remembers what the service holds.
  void startPowered(ServiceOptions options = {});

  // Takes the status messages that wait. Counts them as cycles.
  void takeMessages();

  // The cycle went on at its pace since startPowered() or the last call: it is never faster than one in a
  // second, and a machine that is busy elsewhere is given the double time.
  void expectPace();

  // The service runs, answers at the console, applies a configuration, and holds no more threads and
  // descriptors and hardly more memory than after startPowered().
  void expectUnharmed();

  // Waits until the chip holds what this configuration alone decides.
  void expectConfigured(const PoeConfig& config);

  CardClient& card() { return *m_card; }
  PoeStatus latest{}; // of the messages taken

private:
  void expectNothingLeftOver();

  TemporaryDirectory m_directory;
  std::unique_ptr<CardClient> m_card;
  ServiceFootprint m_before{};
  Clock::time_point m_since;
  unsigned m_messages = 0;
};
