// The conversation with one console client, without its socket: bytes in, one command at a time, bytes out.
//
// No command is taken while output waits, so what a session holds is bounded by one line and one reply.
// For one thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/host/console/line_reader.h"

namespace Zorvan {

class ConsoleSession {
public:
  // Opens the conversation: a prompt is there to be sent.
  ConsoleSession();

  // What is to be sent, and the report that `count` bytes of it have been.
  bool hasOutput() const { return m_sent < m_output.size(); }
  const char* output() const { return m_output.data() + m_sent; }
  std::size_t outputSize() const { return m_output.size() - m_sent; }
  void sent(std::size_t count);

  // The client has asked for the end: no output waits, and the connection is to be closed.
  bool isOver() const { return m_over; }

  // True when nothing can be done without more bytes from the client, which go into input().
  bool wantsInput() const { return !m_over && !hasOutput() && !m_input.hasLine(); }
  LineReader& input() { return m_input; }

  // True when step() would find something to do.
  bool canStep() const { return !m_over && !hasOutput() && m_input.hasLine(); }

  // Carries out the next command, if there is one and no output waits. `buffer` is the one for the handlers.
  // True when there was a line.
  bool step(std::vector<char>& buffer);

private:
  void answer(const std::string& line, std::vector<char>& buffer);

  LineReader m_input;
  std::string m_output;
  std::size_t m_sent = 0;
  bool m_over = false;
};

} // namespace Zorvan
