#include "platform/host/console/console_command.h"

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <utility>

#include "platform/debugable.h"
#include "platform/host/console/debug_registry.h"

namespace Zorvan {

namespace {

constexpr const char* SEPARATORS = " \t";

// An object has to have room for its name when it is asked who it is; the console itself knows it already.
constexpr std::uint32_t NAME_SIZE = 128;

} // namespace

ConsoleCommand::ConsoleCommand(std::string line) : m_line(std::move(line)) {
  std::size_t begin = m_line.find_first_not_of(SEPARATORS);
  while (begin != std::string::npos) {
    const std::size_t end = std::min(m_line.find_first_of(SEPARATORS, begin), m_line.size());
    // With its length: a NUL that the client has sent makes another name, not a shorter one.
    if (m_words.empty()) {
      m_name.assign(m_line, begin, end - begin);
    }
    m_words.push_back(m_line.c_str() + begin);
    begin = m_line.find_first_not_of(SEPARATORS, end);
    if (end < m_line.size()) {
      m_line[end] = '\0';
    }
  }
}

std::string ConsoleCommand::run(std::vector<char>& buffer) const {
  std::string reply;
  if (callObject(buffer, &reply)) {
    return reply;
  }
  if (m_name != "help") {
    reply = "No such object: " + m_name + "\n";
  }
  return reply + listObjects();
}

bool ConsoleCommand::callObject(std::vector<char>& buffer, std::string* reply) const {
  char name[NAME_SIZE];
  for (DebugRegistry::Call call; call.next();) {
    if (call.object().dbgFind(m_name, name, NAME_SIZE) == 0) {
      continue;
    }
    std::fill(buffer.begin(), buffer.end(), '\0');
    // The result is of no use here: a handler that does not know the command says so in its reply.
    call.object().dbgCommand(static_cast<std::uint32_t>(m_words.size() - 1), m_words.data() + 1,
                             buffer.data(), static_cast<std::uint32_t>(buffer.size()));
    reply->assign(buffer.begin(), std::find(buffer.begin(), buffer.end(), '\0'));
    return true;
  }
  return false;
}

std::string ConsoleCommand::listObjects() const {
  char name[NAME_SIZE];
  std::ostringstream list;
  for (DebugRegistry::Call call; call.next();) {
    if (call.object().dbgFind(std::string(), name, NAME_SIZE) != 0) {
      call.object().dbgHelp(static_cast<std::uint32_t>(m_words.size()), m_words.data(), list);
    }
  }
  return list.str();
}

} // namespace Zorvan
