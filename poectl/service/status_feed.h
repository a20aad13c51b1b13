// The messages that "watch" shows, and what it does to get them.
#pragma once

#include "poectl/service/status_receiver.h"
#include "poectl/status/status_events.h"

#include <chrono>
#include <optional>
#include <vector>

// Receives the status messages as the card's main process, and sends the example configuration when asked to:
// with the first message, which shows that the service runs, and again after a restart of the service, which
// forgets its configuration. Owns "/queueToMain". One thread.
class StatusFeed {
public:
  struct Update {
    StatusReceiver::Event event;
    std::vector<StatusEvent> events; // with a message, and when the last message becomes stale
  };

  // `warn` gets one line for each message that is not understood and for a configuration that cannot
  // be sent; that is tried again with the next message. Throws QueueError.
  StatusFeed(bool sendExample, StatusReceiver::Warn warn);

  // Waits at most `limit` for a message. Throws QueueError.
  Update next(std::chrono::milliseconds limit);

  // Sends the example configuration as soon as the service is seen to run.
  void sendExample() { m_sendExample = true; }

  // What the last message said; nothing before the first.
  const std::optional<PoeStatus>& status() const { return m_status; }
  // Since the last message.
  std::chrono::milliseconds age() const;
  // Counts from 1; 0 before the first message.
  unsigned long messages() const { return m_messages; }
  // What was sent last.
  const std::optional<PoeConfig>& sentConfig() const { return m_sentConfig; }
  // How often a configuration has been sent.
  unsigned long configsSent() const { return m_configsSent; }
  StatusReceiver& receiver() { return m_receiver; }

private:
  using Clock = EventTracker::Clock;

  void send();

  const bool m_example;
  const StatusReceiver::Warn m_warn;
  bool m_sendExample;
  bool m_tried = false; // since the last message
  StatusReceiver m_receiver;
  EventTracker m_tracker;
  std::optional<PoeStatus> m_status;
  Clock::time_point m_lastMessage;
  unsigned long m_messages = 0;
  std::optional<PoeConfig> m_sentConfig;
  unsigned long m_configsSent = 0;
};
