#include "poectl/page/page_server.h"

#include "poectl/page/page_content.h"
#include "poectl/page/page_updates.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <microhttpd.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int BACKLOG = 64;
// Bytes of a connection that the kernel keeps. It would take some MiB before a reader is seen to take
// nothing.
constexpr int SEND_BUFFER = 16384;
constexpr std::size_t BLOCK = 16384;           // bytes of updates that are sent at once
constexpr std::chrono::seconds SIGN_PERIOD{5}; // below PageServer::MAX_SILENCE
constexpr char SIGN[] = ": \n\n";              // a comment, which the browser passes over

[[noreturn]] void refusePort(unsigned port) {
  const std::string place = "port " + std::to_string(port) + " of 127.0.0.1";
  throw PageError(errno == EADDRINUSE
                      ? place + " is taken; --port takes another one, and 0 for any that is free"
                      : "cannot listen on " + place + ": " + std::strerror(errno));
}

std::string_view fieldOf(MHD_Connection* connection, const char* name) {
  const char* const value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
  return value == nullptr ? "" : value;
}

void addSafetyFields(MHD_Response* response) {
  constexpr std::pair<const char*, const char*> FIELDS[] = {
      {"Content-Security-Policy", PAGE_POLICY},
      {"X-Content-Type-Options", "nosniff"},
      {"X-Frame-Options", "DENY"},
      {"Referrer-Policy", "no-referrer"},
      {"Cache-Control", "no-store"},
      {"Cross-Origin-Resource-Policy", "same-origin"},
  };
  for (const auto& [name, value] : FIELDS) {
    MHD_add_response_header(response, name, value);
  }
}

int send(MHD_Connection* connection, unsigned status, const char* type, MHD_Response* response) {
  addSafetyFields(response);
  MHD_add_response_header(response, "Content-Type", type);
  const int queued = MHD_queue_response(connection, status, response);
  MHD_destroy_response(response);
  return queued;
}

int sendLine(MHD_Connection* connection, unsigned status, const char* line, const char* allow = nullptr) {
  std::string text = std::string(line) + "\n";
  MHD_Response* const response =
      MHD_create_response_from_buffer(text.size(), text.data(), MHD_RESPMEM_MUST_COPY);
  if (allow != nullptr) {
    MHD_add_response_header(response, "Allow", allow);
  }
  return send(connection, status, "text/plain; charset=utf-8", response);
}

int sendPage(MHD_Connection* connection) {
  return send(
      connection, MHD_HTTP_OK, "text/html; charset=utf-8",
      MHD_create_response_from_buffer(PAGE_SIZE, const_cast<char*>(PAGE_TEXT), MHD_RESPMEM_PERSISTENT));
}

} // namespace

PageSocket::PageSocket(unsigned port)
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
  const int yes = 1;
  setsockopt(m_socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  setsockopt(m_socket, SOL_SOCKET, SO_SNDBUF, &SEND_BUFFER, sizeof SEND_BUFFER); // connections inherit it
  sockaddr_in address{};
  socklen_t size = sizeof address;
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (bind(m_socket, generic, size) != 0 || listen(m_socket, BACKLOG) != 0 ||
      getsockname(m_socket, generic, &size) != 0) {
    refusePort(port);
  }
  m_port = ntohs(address.sin_port);
}

PageSocket::~PageSocket() {
  if (m_socket >= 0) {
    close(m_socket);
  }
}

int PageSocket::release() {
  return std::exchange(m_socket, -1);
}

struct PageServer::Connection {
  int socket;
  Clock::time_point start; // of the request in progress, or since it has none
  bool isStream = false;
};

struct PageServer::Request {
  std::string body; // at most one byte more than a command may have
};

struct PageServer::Stream {
  Stream(PageServer& ofServer, MHD_Connection* itsConnection) : server(ofServer), connection(itsConnection) {}

  PageServer& server;
  MHD_Connection* const connection;
  std::uint64_t number = PageUpdates::START;
  std::string text;      // in delivery
  std::size_t sent = 0;  // of it
  bool isForced = false; // sends a sign of life
  bool isWaiting = false;

  std::size_t rest() const { return text.size() - sent; }
};

// What the library calls.
struct PageServer::Callbacks {
  static void connectionChanged(void* self, MHD_Connection* connection, void** context,
                                MHD_ConnectionNotificationCode code) {
    auto& connections = static_cast<PageServer*>(self)->m_connections;
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
      const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
      connections.push_back({info->connect_fd, Clock::now()});
      *context = &connections.back();
    } else {
      connections.remove_if([&](const Connection& entry) { return &entry == *context; });
    }
  }

  static Connection& stateOf(MHD_Connection* connection) {
    return *static_cast<Connection*>(
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context);
  }

  // NOLINTNEXTLINE(readability-function-size): the library gives that many parameters.
  static MHD_Result handle(void* self, MHD_Connection* connection, const char* path, const char* method,
                           const char* /*version*/, const char* data, std::size_t* size, void** context) {
    auto& server = *static_cast<PageServer*>(self);
    auto* const request = static_cast<Request*>(*context);
    if (request == nullptr) {
      *context = new Request;
      const auto refusal =
          server.m_guard.refusalOf({method, path, fieldOf(connection, "Host"), fieldOf(connection, "Origin"),
                                    fieldOf(connection, PageGuard::TOKEN_FIELD)});
      if (refusal) {
        const auto resource = PageGuard::resourceOf(path);
        return static_cast<MHD_Result>(sendLine(connection, refusal->status, refusal->reason,
                                                resource ? PageGuard::methodsOf(*resource) : nullptr));
      }
      return MHD_YES; // its body follows
    }
    if (*size > 0) {
      request->body.append(data, std::min(*size, PageGuard::MAX_COMMAND + 1 - request->body.size()));
      *size = 0;
      return MHD_YES;
    }
    return static_cast<MHD_Result>(server.answerResource(connection, *PageGuard::resourceOf(path), *request));
  }

  static void completed(void* /*self*/, MHD_Connection* connection, void** context,
                        MHD_RequestTerminationCode /*code*/) {
    delete static_cast<Request*>(*context);
    *context = nullptr;
    stateOf(connection).start = Clock::now();
  }

  static ssize_t read(void* context, std::uint64_t /*position*/, char* block, std::size_t size) {
    Stream& stream = *static_cast<Stream*>(context);
    if (stream.rest() == 0) {
      stream.text = stream.server.m_hooks.updates(stream.number);
      stream.text += stream.text.empty() && stream.isForced ? SIGN : "";
      stream.sent = 0;
    }
    stream.isForced = false;
    if (stream.text.empty()) {
      stream.isWaiting = true;
      MHD_suspend_connection(stream.connection);
      return 0;
    }
    const std::size_t length = std::min(size, stream.rest());
    std::memcpy(block, stream.text.data() + stream.sent, length);
    stream.sent += length;
    return static_cast<ssize_t>(length);
  }

  static void closeStream(void* context) {
    auto* const stream = static_cast<Stream*>(context);
    stream->server.m_streams.remove_if([&](const Stream& entry) { return &entry == stream; });
  }

  static void ignoreLog(void* /*self*/, const char* /*format*/, va_list /*arguments*/) {}
};

PageServer::PageServer(PageSocket& socket, const PageGuard& guard, Hooks hooks)
    : m_guard(guard), m_hooks(std::move(hooks)), m_lastSign(Clock::now()) {
  // The log is named first: what the other options complain of would else go to standard error.
  m_daemon = MHD_start_daemon(
      MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG, 0, nullptr, nullptr, &Callbacks::handle, this,
      MHD_OPTION_EXTERNAL_LOGGER, &Callbacks::ignoreLog, nullptr, MHD_OPTION_LISTEN_SOCKET, socket.release(),
      MHD_OPTION_CONNECTION_LIMIT, MAX_CONNECTIONS, MHD_OPTION_CONNECTION_MEMORY_LIMIT, MAX_REQUEST,
      MHD_OPTION_CONNECTION_TIMEOUT, static_cast<unsigned>(MAX_SILENCE.count()), MHD_OPTION_STRICT_FOR_CLIENT,
      1, MHD_OPTION_NOTIFY_COMPLETED, &Callbacks::completed, this, MHD_OPTION_NOTIFY_CONNECTION,
      &Callbacks::connectionChanged, this, MHD_OPTION_END);
  if (m_daemon == nullptr) {
    throw PageError("the HTTP server of the page does not start");
  }
}

// The library ends no connection that is suspended.
PageServer::~PageServer() {
  for (Stream& stream : m_streams) {
    if (std::exchange(stream.isWaiting, false)) {
      MHD_resume_connection(stream.connection);
    }
  }
  MHD_stop_daemon(m_daemon);
}

// By select(): with epoll, the library misses the end of a connection that comes with a part of a request.
void PageServer::wait(std::initializer_list<int> others, std::chrono::milliseconds limit) const {
  fd_set reads;
  fd_set writes;
  fd_set faults;
  FD_ZERO(&reads);
  FD_ZERO(&writes);
  FD_ZERO(&faults);
  int highest = -1;
  MHD_get_fdset(m_daemon, &reads, &writes, &faults, &highest);
  for (const int other : others) {
    FD_SET(other, &reads);
    highest = std::max(highest, other);
  }
  MHD_UNSIGNED_LONG_LONG left = 0;
  if (MHD_get_timeout(m_daemon, &left) == MHD_YES && left < static_cast<unsigned long long>(limit.count())) {
    limit = std::chrono::milliseconds(left);
  }
  timeval time{};
  time.tv_sec = static_cast<time_t>(limit.count() / 1000);
  time.tv_usec = static_cast<suseconds_t>(limit.count() % 1000 * 1000);
  select(highest + 1, &reads, &writes, &faults, &time);
}

void PageServer::work() {
  const Clock::time_point now = Clock::now();
  const bool isSignDue = now - m_lastSign >= SIGN_PERIOD;
  if (isSignDue) {
    m_lastSign = now;
  }
  wakeStreams(isSignDue);
  endLateRequests(now);
  MHD_run(m_daemon);
}

void PageServer::wakeStreams(bool isForced) {
  for (Stream& stream : m_streams) {
    stream.isForced |= isForced;
    if (!stream.isWaiting) {
      continue;
    }
    stream.text = m_hooks.updates(stream.number);
    stream.sent = 0;
    if (!stream.text.empty() || stream.isForced) {
      stream.isWaiting = false;
      MHD_resume_connection(stream.connection);
    }
  }
}

// The library itself only limits the time in which nothing comes: a drop now and then would hold a
// connection.
void PageServer::endLateRequests(Clock::time_point now) {
  for (const Connection& connection : m_connections) {
    if (!connection.isStream && now - connection.start > MAX_SILENCE) {
      shutdown(connection.socket, SHUT_RDWR);
    }
  }
}

int PageServer::answerResource(MHD_Connection* connection, PageResource resource, const Request& request) {
  switch (resource) {
  case PageResource::PAGE:
    return sendPage(connection);
  case PageResource::EVENTS:
    return openStream(connection);
  case PageResource::CARD:
    break;
  }
  std::optional<PageRefusal> refusal = cardCommandRefusal(request.body);
  if (!refusal) {
    refusal = m_hooks.command(request.body);
  }
  return refusal ? sendLine(connection, refusal->status, refusal->reason)
                 : sendLine(connection, MHD_HTTP_ACCEPTED, "handed to the card, whose answer is an update");
}

int PageServer::openStream(MHD_Connection* connection) {
  if (m_streams.size() >= MAX_STREAMS) {
    return sendLine(connection, MHD_HTTP_SERVICE_UNAVAILABLE, "too many pages are open");
  }
  m_streams.emplace_back(*this, connection);
  Callbacks::stateOf(connection).isStream = true;
  return send(connection, MHD_HTTP_OK, "text/event-stream",
              MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, BLOCK, &Callbacks::read, &m_streams.back(),
                                                &Callbacks::closeStream));
}
