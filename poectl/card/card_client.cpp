#include "poectl/card/card_client.h"

#include "poectl/host/visible_text.h"

#include <cstdio>
#include <cstring>
#include <sys/un.h>
#include <unistd.h>

namespace {

using Clock = PeerConnection::Clock;

constexpr std::chrono::milliseconds REPLY_LIMIT{2000}; // also of the connection
constexpr char REFUSED[] = "error: ";
constexpr char DONE[] = "ok\n";

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    throw CardError("the control socket " + path + " has too long a name: at most " +
                    std::to_string(sizeof address.sun_path - 1) + " characters are accepted");
  }
  path.copy(address.sun_path, path.size());
  return address;
}

// A reply ends with an empty line.
bool isComplete(const std::string& reply) {
  return reply == "\n" || (reply.size() >= 2 && reply.compare(reply.size() - 2, 2, "\n\n") == 0);
}

[[noreturn]] void explain(const std::string& path, const PeerError& error) {
  const std::string card = "the simulated card on " + path;
  switch (error.kind()) {
  case PeerError::Kind::UNREACHABLE:
    throw CardAbsent("cannot reach " + card + ": " + error.what() + "; is poe_card running with --control?");
  case PeerError::Kind::GONE:
    throw CardError(card + " is gone: " + error.what());
  case PeerError::Kind::SILENT:
    throw CardError(card + " does not reply");
  case PeerError::Kind::TOO_LONG:
    throw CardError(card + " replies with " + error.what());
  case PeerError::Kind::INTERRUPTED:
    break;
  }
  throw CardError(card + " was not waited for: interrupted");
}

std::unique_ptr<PeerConnection> connectTo(const std::string& path, int stop) {
  const sockaddr_un address = addressOf(path);
  try {
    return std::make_unique<PeerConnection>(reinterpret_cast<const sockaddr*>(&address), sizeof address,
                                            Clock::now() + REPLY_LIMIT, stop);
  } catch (const PeerError& error) {
    explain(path, error);
  }
}

} // namespace

CardClient::CardClient(const std::string& path, int stop)
    : m_path(path), m_connection(connectTo(path, stop)) {
  const uid_t user = m_connection->peerUser();
  if (user != geteuid() && user != 0) {
    throw CardError("the control socket " + path + " is user " + std::to_string(user) +
                    "'s; accepted is a card of your own (user " + std::to_string(geteuid()) + ") or root's");
  }
}

std::string CardClient::ask(const std::string& words) {
  if (words.find('\n') != std::string::npos) {
    throw CardRefusal("a command of the card is one line: it cannot contain a line end");
  }
  std::string reply = conversation(words + "\n");
  if (!isComplete(reply)) {
    throw CardError("the simulated card on " + m_path + " has closed the connection");
  }
  reply.pop_back();
  if (reply.compare(0, std::strlen(REFUSED), REFUSED) == 0) {
    throw CardRefusal(
        "card: " + visibleLine(reply.substr(std::strlen(REFUSED), reply.size() - std::strlen(REFUSED) - 1)));
  }
  return reply == DONE ? "" : visibleText(reply);
}

std::string CardClient::conversation(const std::string& request) {
  try {
    const Clock::time_point deadline = Clock::now() + REPLY_LIMIT;
    m_connection->send(request, deadline);
    return m_connection->receive(deadline, isComplete);
  } catch (const PeerError& error) {
    explain(m_path, error);
  }
}

// The reply is the address and the value.
unsigned CardClient::readRegister(unsigned address) {
  const std::string reply = ask("reg " + std::to_string(address));
  unsigned repeated = 0;
  unsigned value = 0;
  if (std::sscanf(reply.c_str(), "%x %x", &repeated, &value) != 2 || repeated != address) {
    throw CardError("the simulated card on " + m_path + " does not tell register " + std::to_string(address));
  }
  return value;
}
