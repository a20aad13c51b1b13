#include "platform/host/console/console_session.h"

#include "platform/host/console/console_command.h"

namespace Zorvan {

namespace {

constexpr const char* PROMPT = "> ";
constexpr const char* LINE_TOO_LONG = "Line too long (at most 1024 bytes)\n";
static_assert(LineReader::MAX_LINE_LENGTH == 1024, "the limit is named in LINE_TOO_LONG");

} // namespace

ConsoleSession::ConsoleSession() : m_output(PROMPT) {}

void ConsoleSession::sent(std::size_t count) {
  m_sent += count;
  if (hasOutput()) {
    return;
  }
  m_output = std::string(); // gives the memory of a long reply back
  m_sent = 0;
}

bool ConsoleSession::step(std::vector<char>& buffer) {
  if (m_over || hasOutput()) {
    return false;
  }
  std::string line;
  switch (m_input.next(&line)) {
  case LineReader::Result::NONE:
    return false;
  case LineReader::Result::LINE:
    answer(line, buffer);
    break;
  case LineReader::Result::TOO_LONG:
    m_output = std::string(LINE_TOO_LONG) + PROMPT;
    break;
  }
  return true;
}

void ConsoleSession::answer(const std::string& line, std::vector<char>& buffer) {
  const ConsoleCommand command(line);
  if (command.isQuit()) {
    m_over = true;
    return;
  }
  if (!command.isEmpty()) {
    m_output = command.run(buffer);
  }
  m_output += PROMPT;
}

} // namespace Zorvan
