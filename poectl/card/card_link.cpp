#include "poectl/card/card_link.h"

#include <utility>

namespace {

constexpr std::chrono::milliseconds PERIOD{1000};

std::string firstLine(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

} // namespace

CardLink::CardLink(std::string path) : m_path(std::move(path)), m_worker([this] { work(); }, PERIOD) {}

void CardLink::send(const std::string& command) {
  {
    const std::lock_guard lock(m_mutex);
    m_commands.push_back(command);
  }
  m_worker.wake();
}

CardLink::Update CardLink::update() {
  const std::lock_guard lock(m_mutex);
  return {m_state, m_commands.empty() && m_inProgress == 0, std::exchange(m_answer, "")};
}

void CardLink::work() {
  std::vector<std::string> commands;
  {
    const std::lock_guard lock(m_mutex);
    commands.swap(m_commands);
    m_inProgress = commands.size();
  }
  try {
    if (!m_client) {
      m_client = std::make_unique<CardClient>(m_path, m_worker.stopDescriptor());
    }
    carryOut(commands);
    store(parseCardState(m_client->ask("show")));
  } catch (const CardError& error) {
    m_client.reset();
    store(std::nullopt);
    if (!commands.empty()) {
      const std::lock_guard lock(m_mutex);
      m_answer = error.what();
    }
  }
}

void CardLink::carryOut(const std::vector<std::string>& commands) {
  for (const std::string& command : commands) {
    const std::string answer = answerTo(command);
    const std::lock_guard lock(m_mutex);
    m_answer = answer;
  }
}

std::string CardLink::answerTo(const std::string& command) {
  try {
    const std::string reply = m_client->ask(command);
    return "card: " + command + (reply.empty() ? "" : ": " + firstLine(reply));
  } catch (const CardRefusal& refusal) {
    return refusal.what();
  }
}

void CardLink::store(const std::optional<CardState>& state) {
  const std::lock_guard lock(m_mutex);
  m_state = state;
  m_inProgress = 0;
}
