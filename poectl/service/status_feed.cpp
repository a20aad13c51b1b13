#include "poectl/service/status_feed.h"

#include "poectl/config/example_config.h"

#include <algorithm>
#include <utility>

StatusFeed::StatusFeed(bool sendExample, StatusReceiver::Warn warn)
    : m_example(sendExample), m_warn(std::move(warn)), m_sendExample(sendExample), m_receiver(m_warn) {}

StatusFeed::Update StatusFeed::next(std::chrono::milliseconds limit) {
  if (m_sendExample && m_status && !m_tried) {
    send();
  }
  PoeStatus status{};
  Update update{m_receiver.next(limit, status), {}};
  const Clock::time_point now = Clock::now();
  if (update.event != StatusReceiver::Event::MESSAGE) {
    if (const auto stale = m_tracker.silence(now)) {
      update.events.push_back(*stale);
    }
    return update;
  }
  update.events = m_tracker.message(status, now);
  m_status = status;
  m_lastMessage = now;
  m_messages++;
  m_sendExample |=
      m_example && std::any_of(update.events.begin(), update.events.end(), [](const auto& event) {
        return event.kind == EventKind::RESUMED || event.kind == EventKind::SERVICE_RESTARTED;
      });
  m_tried = false;
  return update;
}

std::chrono::milliseconds StatusFeed::age() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_lastMessage);
}

void StatusFeed::send() {
  m_tried = true;
  const PoeConfigMessage message{MSGID_CONFIG, exampleConfig()};
  try {
    sendToService(&message, sizeof message, {std::chrono::milliseconds(0)}); // it is tried again
  } catch (const QueueError& error) {
    m_warn(error.what());
    return;
  }
  m_sendExample = false;
  m_sentConfig = message.config;
  m_configsSent++;
}
