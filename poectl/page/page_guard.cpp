#include "poectl/page/page_guard.h"

#include "text/text.h"

#include <algorithm>
#include <cerrno>
#include <sys/random.h>
#include <system_error>
#include <utility>

namespace {

struct Route {
  std::string_view path;
  PageResource resource;
  std::string_view method;
  const char* methods;
};

constexpr Route ROUTES[] = {
    {"/", PageResource::PAGE, "GET", "GET, HEAD"},
    {"/events", PageResource::EVENTS, "GET", "GET"},
    {"/card", PageResource::CARD, "POST", "POST"},
};

constexpr unsigned BAD_REQUEST = 400;
constexpr unsigned FORBIDDEN = 403;
constexpr unsigned NOT_FOUND = 404;
constexpr unsigned METHOD_NOT_ALLOWED = 405;
constexpr unsigned CONTENT_TOO_LARGE = 413;
constexpr unsigned MISDIRECTED = 421;

constexpr std::string_view SCHEME = "http://";

// Of the simulated card; the others read or write files or registers, or only answer.
constexpr std::string_view CARD_VERBS[] = {"plug",   "unplug",      "draw",        "short",
                                           "fault",  "class-error", "temperature", "thermal",
                                           "supply", "bank",        "power-cycle", "bus"};

const Route* routeOf(std::string_view path) {
  const auto* const found = std::find_if(std::begin(ROUTES), std::end(ROUTES),
                                         [&](const Route& route) { return route.path == path; });
  return found == std::end(ROUTES) ? nullptr : found;
}

bool takes(const Route& route, std::string_view method) {
  return method == route.method || (route.resource == PageResource::PAGE && method == "HEAD");
}

bool isPrintable(char character) {
  return character >= ' ' && character <= '~';
}

} // namespace

PageGuard::PageGuard(unsigned port, std::string token)
    : m_hosts{"127.0.0.1:" + std::to_string(port), "localhost:" + std::to_string(port)},
      m_token(std::move(token)) {}

std::optional<PageResource> PageGuard::resourceOf(std::string_view path) {
  const Route* const route = routeOf(path);
  return route == nullptr ? std::nullopt : std::optional(route->resource);
}

const char* PageGuard::methodsOf(PageResource resource) {
  return std::find_if(std::begin(ROUTES), std::end(ROUTES),
                      [&](const Route& route) { return route.resource == resource; })
      ->methods;
}

std::optional<PageRefusal> PageGuard::refusalOf(const PageRequest& request) const {
  if (!isOwnHost(request.host)) { // also the name of another site that leads to the loopback address
    return PageRefusal{MISDIRECTED,
                       "the host is another one; accepted is the address that 'poectl serve' prints"};
  }
  if (!request.origin.empty() && !isOwnOrigin(request.origin)) {
    return PageRefusal{FORBIDDEN, "the request comes from a page of another origin"};
  }
  const Route* const route = routeOf(request.path);
  if (route == nullptr) {
    return PageRefusal{NOT_FOUND, "there is nothing of this name; the page is /"};
  }
  if (!takes(*route, request.method)) {
    return PageRefusal{METHOD_NOT_ALLOWED, "the method is not accepted; the field Allow has those that are"};
  }
  if (route->resource != PageResource::CARD) {
    return std::nullopt;
  }
  if (request.origin.empty()) {
    return PageRefusal{FORBIDDEN, "the field Origin is missing"};
  }
  if (!isToken(request.token)) {
    return PageRefusal{FORBIDDEN,
                       "the token is wrong or missing; it is in the address that 'poectl serve' prints"};
  }
  return std::nullopt;
}

bool PageGuard::isOwnHost(std::string_view host) const {
  return std::find(m_hosts.begin(), m_hosts.end(), host) != m_hosts.end();
}

bool PageGuard::isOwnOrigin(std::string_view origin) const {
  return origin.substr(0, SCHEME.size()) == SCHEME && isOwnHost(origin.substr(SCHEME.size()));
}

// Takes the same time wherever the difference is.
bool PageGuard::isToken(std::string_view token) const {
  if (token.size() != m_token.size()) {
    return false;
  }
  int difference = 0;
  for (std::size_t place = 0; place < token.size(); place++) {
    difference |= token[place] ^ m_token[place];
  }
  return difference == 0;
}

std::optional<PageRefusal> cardCommandRefusal(std::string_view command) {
  if (command.size() > PageGuard::MAX_COMMAND) {
    return PageRefusal{CONTENT_TOO_LARGE, "the command is too long; at most 200 bytes are accepted"};
  }
  if (!std::all_of(command.begin(), command.end(), isPrintable)) {
    return PageRefusal{BAD_REQUEST, "the command is no line of printable ASCII"};
  }
  const std::string_view verb = command.substr(0, command.find(' '));
  if (std::find(std::begin(CARD_VERBS), std::end(CARD_VERBS), verb) == std::end(CARD_VERBS)) {
    return PageRefusal{BAD_REQUEST, "the page has no such command for the card"};
  }
  return std::nullopt;
}

std::string newPageToken() {
  constexpr std::size_t BYTES = 16;
  std::array<unsigned char, BYTES> random{};
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    throw std::system_error(errno, std::generic_category(), "no random numbers for the page's address");
  }
  std::string token;
  for (const unsigned char byte : random) {
    token += text::formatted("%02x", static_cast<unsigned>(byte));
  }
  return token;
}
