// The card's main process in the process tests: the other end of the two queues.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <mqueue.h>
#include <optional>
#include <string>
#include <vector>

// "/queueToMain", created with these attributes and removed at the end.
class MainProcessQueue {
public:
  explicit MainProcessQueue(long messages = 10);
  MainProcessQueue(const MainProcessQueue&) = delete;
  MainProcessQueue& operator=(const MainProcessQueue&) = delete;
  ~MainProcessQueue();

  // The bytes of the next message. Empty, after a test failure, when none comes.
  std::vector<char> nextBytes();

  // The next message, which must be a status message.
  PoeStatusMessage next();

  // The messages that are in the queue now, the oldest first.
  std::vector<PoeStatus> waiting();

  // Whoever wants to may write to the queue, not only its owner.
  void openToEverybody();

  // Fills the queue so that nothing more goes in.
  void fill();

private:
  mqd_t m_queue;
};

// "/queueToPoe" as the main process opens it.
class ConfigSender {
public:
  ConfigSender();
  ConfigSender(const ConfigSender&) = delete;
  ConfigSender& operator=(const ConfigSender&) = delete;
  ~ConfigSender();

  void send(const void* bytes, std::size_t length);
  void send(const PoeConfig& config);

private:
  mqd_t m_queue;
};

bool queueExists(const std::string& name);
