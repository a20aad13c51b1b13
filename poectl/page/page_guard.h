// Which requests the page's server answers. Every input from a browser or another program passes here.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

// Why a request is not answered as asked.
struct PageRefusal {
  unsigned status;    // of HTTP
  const char* reason; // one line
};

struct PageRequest {
  std::string_view method;
  std::string_view path;
  // Header fields; empty: not given.
  std::string_view host;
  std::string_view origin;
  std::string_view token;
};

enum class PageResource {
  PAGE,   // "/": the page
  EVENTS, // "/events": its updates, until the reader goes
  CARD,   // "/card": a command for the simulated card
};

// Answers requests to the loopback address only, and commands for the simulated card only to the page that
// has the token in its address. A page of another site can so neither read anything nor send a command,
// whichever name its address has. Constant; any thread.
class PageGuard {
public:
  static constexpr const char* TOKEN_FIELD = "Poe-Token";
  static constexpr std::size_t MAX_COMMAND = 200; // bytes

  PageGuard(unsigned port, std::string token);

  // Where the page is, with the token.
  std::string address() const { return "http://" + m_hosts.front() + "/#" + m_token; }

  // What is asked for; nothing when there is no such resource.
  static std::optional<PageResource> resourceOf(std::string_view path);
  // The methods that a resource takes, as the field "Allow" has them.
  static const char* methodsOf(PageResource resource);

  // Nothing when the request may be answered.
  std::optional<PageRefusal> refusalOf(const PageRequest& request) const;

private:
  bool isOwnHost(std::string_view host) const;
  bool isOwnOrigin(std::string_view origin) const;
  bool isToken(std::string_view token) const;

  const std::array<std::string, 2> m_hosts;
  const std::string m_token;
};

// Nothing for a command that the page may send: one line of printable ASCII that changes what is plugged in
// or what is faulty, and reads or writes neither files nor registers. The card itself checks the rest.
std::optional<PageRefusal> cardCommandRefusal(std::string_view command);

// 128 random bits in hexadecimal. Throws std::system_error.
std::string newPageToken();
