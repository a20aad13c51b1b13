#include "poectl/feed/queue_feed.h"

#include "poectl/config/example_config.h"

#include <utility>

namespace {

constexpr std::chrono::milliseconds MESSAGE_PERIOD{1000};

} // namespace

QueueFeed::QueueFeed(bool sendExample, Warn warn)
    : SnapshotFeed(MESSAGE_PERIOD, STALE_AFTER), m_example(sendExample), m_warn(std::move(warn)),
      m_sendExample(sendExample), m_receiver(m_warn) {}

SnapshotFeed::Event QueueFeed::receive(std::chrono::milliseconds limit, Snapshot& snapshot) {
  if (m_sendExample && m_last && !m_tried) {
    send();
  }
  PoeStatus status{};
  switch (m_receiver.next(limit, status)) {
  case StatusReceiver::Event::MESSAGE:
    snapshot = snapshotOfMessage(0, status);
    return Event::SNAPSHOT;
  case StatusReceiver::Event::INTERRUPTED:
    return Event::INTERRUPTED;
  case StatusReceiver::Event::TIME_UP:
    break;
  }
  return Event::TIME_UP;
}

bool QueueFeed::complete(Snapshot& snapshot, const std::vector<StatusEvent>& events) {
  const bool isForgotten = isRestart(events);
  m_sendExample |= m_example && isForgotten;
  m_tried = false;
  if (m_last && !isForgotten) {
    snapshot.details = m_last->details; // as they were sent
  }
  return std::exchange(m_sent, false);
}

std::string QueueFeed::sendExample() {
  m_sendExample = true;
  return "";
}

void QueueFeed::send() {
  m_tried = true;
  const PoeConfig config = exampleConfig();
  try {
    sendConfig(config, {std::chrono::milliseconds(0)}); // it is tried again
  } catch (const QueueError& error) {
    m_warn(error.what());
    return;
  }
  m_sendExample = false;
  m_sent = true;
  addSettings(*m_last, config);
}

std::string QueueFeed::nothingCame() const {
  return noMessageCame();
}

std::string noMessageCame() {
  return std::string("no status message came on ") + QUEUE_TO_MAIN + ": is the service running?";
}
