// The simulated card beside the live view.
#pragma once

#include "poectl/card/card_client.h"
#include "poectl/card/card_state.h"
#include "poectl/host/periodic_worker.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// Asks the card for its state once a second and after each command, and connects again when it has gone and
// come back. No call waits for the card, nor does the destructor.
class CardLink {
public:
  // `path` is that of the control socket.
  explicit CardLink(std::string path);

  // Commands are carried out in their order.
  void send(const std::string& command);

  struct Update {
    std::optional<CardState> state; // nothing while no card answers
    bool isCurrent;                 // false while there are commands that the state does not show yet
    std::string answer;             // one line, to the last command since the call before; else empty
  };
  Update update();

private:
  void work();
  void carryOut(const std::vector<std::string>& commands);
  std::string answerTo(const std::string& command);
  void store(const std::optional<CardState>& state);

  const std::string m_path;
  std::unique_ptr<CardClient> m_client; // of the worker's thread

  std::mutex m_mutex; // guards what follows
  std::vector<std::string> m_commands;
  std::size_t m_inProgress = 0;
  std::optional<CardState> m_state;
  std::string m_answer;

  PeriodicWorker m_worker; // the last: its thread uses all others
};
