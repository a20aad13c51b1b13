// Snapshots from the status messages.
#pragma once

#include "poectl/feed/snapshot_feed.h"
#include "poectl/service/status_receiver.h"

// Receives the status messages as the card's main process. Owns "/queueToMain". One thread.
//
// On request it also sends the example configuration: when the first message shows that the service runs, and
// after each restart of the service, which forgets its configuration.
class QueueFeed : public SnapshotFeed {
public:
  // `warn` gets one line for each message that is not understood and for a configuration that cannot
  // be sent; that is tried again with the next message. Throws QueueError, as next() does.
  QueueFeed(bool sendExample, Warn warn);

  Snapshot::Source source() const override { return Snapshot::Source::QUEUE; }
  std::string origin() const override { return sourceWord(source()); }
  int descriptor() const override { return m_receiver.queueDescriptor(); }
  EndSignals& endSignals() override { return m_receiver.endSignals(); }
  std::string sendExample() override;
  std::string nothingCame() const override;

private:
  Event receive(std::chrono::milliseconds limit, Snapshot& snapshot) override;
  bool complete(Snapshot& snapshot, const std::vector<StatusEvent>& events) override;
  void send();

  const bool m_example;
  const Warn m_warn;
  bool m_sendExample;
  bool m_tried = false; // since the last message
  bool m_sent = false;  // since the last message
  StatusReceiver m_receiver;
};

// What to say when no status message came in time.
std::string noMessageCame();
