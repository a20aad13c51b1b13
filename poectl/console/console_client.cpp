#include "poectl/console/console_client.h"

#include "components/PoeDriver/poe_messages.h"
#include "poectl/console/console_vocabulary.h"
#include "poectl/host/visible_text.h"
#include "posix/file_descriptor.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Clock = PeerConnection::Clock;

const std::string PROMPT = "> ";

std::string place() {
  return "the console on 127.0.0.1 port " + std::to_string(CONSOLE_PORT);
}

sockaddr_in consoleAddress() {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(CONSOLE_PORT);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

[[noreturn]] void explain(const PeerError& error) {
  switch (error.kind()) {
  case PeerError::Kind::UNREACHABLE:
    throw ConsoleClosedError("cannot reach " + place() + ": " + error.what() + "; is the service running?");
  case PeerError::Kind::GONE:
    throw ConsoleError(std::string("the console has broken the connection: ") + error.what());
  case PeerError::Kind::SILENT:
    throw ConsoleSilentError("the console does not reply in time");
  case PeerError::Kind::TOO_LONG:
    throw ConsoleError(std::string("the console replies with ") + error.what());
  case PeerError::Kind::INTERRUPTED:
    break;
  }
  throw ConsoleError("the console was not waited for: interrupted");
}

// Everything that the console sends until it closes.
std::string conversation(const std::string& request, const ConsoleWait& wait) {
  const sockaddr_in address = consoleAddress();
  try {
    const Clock::time_point deadline = Clock::now() + wait.limit;
    PeerConnection console(reinterpret_cast<const sockaddr*>(&address), sizeof address, deadline, wait.stop);
    console.send(request, deadline);
    return console.receive(deadline, [](const std::string&) { return false; });
  } catch (const PeerError& error) {
    explain(error);
  }
}

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

// With "quit" after the command, the reply ends with the connection, so a reply may contain anything.
std::string askConsole(const std::string& command, const ConsoleWait& wait) {
  std::string text = conversation(command + "\nquit\n", wait);
  if (!startsWith(text, PROMPT)) {
    text.resize(std::min(text.size(), text.find('\n')));
    throw ConsoleError("the console refuses: " + visibleLine(text));
  }
  text.erase(0, PROMPT.size());
  if (!endsWith(text, PROMPT)) {
    throw ConsoleError("the console has broken off its reply");
  }
  text.resize(text.size() - PROMPT.size());
  return visibleText(text);
}

bool endsConsole(const std::string& words) {
  const std::size_t start = words.find_first_not_of(" \t");
  if (start == std::string::npos) {
    return false;
  }
  const std::string word = words.substr(start, words.find_last_not_of(" \t") + 1 - start);
  return word == "quit" || word == "exit";
}

std::string consoleLine(const std::string& words) {
  if (words.find('\n') != std::string::npos) {
    throw ConsoleInputError("a console command is one line: it cannot contain a line end");
  }
  const std::size_t start = words.find_first_not_of(" \t");
  if (start == std::string::npos) {
    return words;
  }
  const std::string first = words.substr(start, words.find_first_of(" \t", start) - start);
  const bool isBareCommand =
      first != "help" && std::find(CONSOLE_ENGINE_COMMANDS.begin(), CONSOLE_ENGINE_COMMANDS.end(), first) !=
                             CONSOLE_ENGINE_COMMANDS.end();
  return isBareCommand ? std::string(CONSOLE_ENGINE) + " " + words : words;
}

bool consolePortIsTaken() {
  const FileDescriptor probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int on = 1;
  setsockopt(probe.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on); // as the console does
  const sockaddr_in address = consoleAddress();
  const int result = bind(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  return result != 0 && errno == EADDRINUSE;
}
