#include "simulator/virtio/vhost_user_message.h"

#include "simulator/virtio/virtio_error.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

namespace {

using Clock = std::chrono::steady_clock;

// The numbers are in the byte order of the host, as the emulator runs on it too.
struct Header {
  std::uint32_t request;
  std::uint32_t flags;
  std::uint32_t size; // of the payload
};

constexpr std::uint32_t VERSION_MASK = 3;
constexpr std::uint32_t VERSION = 1;
constexpr std::uint32_t IS_REPLY = 4;
constexpr std::chrono::seconds DEADLINE{2};

// Waits until a socket has something to read.
void await(int socket, Clock::time_point end) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
  pollfd readable{socket, POLLIN, 0};
  if (left.count() <= 0 || (poll(&readable, 1, static_cast<int>(left.count())) == 0)) {
    throw VirtioError("a message without its end");
  }
}

// The descriptors of a message, none of which is left open.
void takeDescriptors(msghdr& message, std::vector<FileDescriptor>& descriptors) {
  for (cmsghdr* control = CMSG_FIRSTHDR(&message); control != nullptr;
       control = CMSG_NXTHDR(&message, control)) {
    if (control->cmsg_level != SOL_SOCKET || control->cmsg_type != SCM_RIGHTS) {
      continue;
    }
    const std::size_t count = (control->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (std::size_t i = 0; i < count; ++i) {
      int fd = -1;
      std::memcpy(&fd, CMSG_DATA(control) + i * sizeof fd, sizeof fd);
      descriptors.emplace_back(fd);
    }
  }
}

// Reads `size` bytes and the descriptors with them. False: the connection has ended before the first of them.
bool receiveAll(int socket, void* bytes, std::size_t size, std::vector<FileDescriptor>& descriptors) {
  const Clock::time_point end = Clock::now() + DEADLINE;
  std::size_t received = 0;
  while (received < size) {
    await(socket, end);
    iovec place{static_cast<std::uint8_t*>(bytes) + received, size - received};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(VhostUserMessage::MAX_DESCRIPTORS * sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t count = recvmsg(socket, &message, MSG_CMSG_CLOEXEC | MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
      continue;
    }
    if (count > 0) {
      takeDescriptors(message, descriptors);
    }
    if (count <= 0 && received == 0) {
      return false;
    }
    if (count <= 0 || (message.msg_flags & MSG_CTRUNC) != 0 ||
        descriptors.size() > VhostUserMessage::MAX_DESCRIPTORS) {
      throw VirtioError("a message without its end, or with too many descriptors");
    }
    received += static_cast<std::size_t>(count);
  }
  return true;
}

void reply(int socket, VhostUserRequest request, const void* payload, std::uint32_t size) {
  Header header{static_cast<std::uint32_t>(request), VERSION | IS_REPLY, size};
  std::array<std::uint8_t, sizeof header + sizeof(std::uint64_t)> bytes{};
  std::memcpy(bytes.data(), &header, sizeof header);
  std::memcpy(bytes.data() + sizeof header, payload, size);
  const std::size_t whole = sizeof header + size;
  if (send(socket, bytes.data(), whole, MSG_NOSIGNAL | MSG_DONTWAIT) != static_cast<ssize_t>(whole)) {
    throw VirtioError("an answer that nobody takes");
  }
}

} // namespace

std::optional<VhostUserMessage> VhostUserMessage::receive(int socket) {
  VhostUserMessage message;
  Header header{};
  if (!receiveAll(socket, &header, sizeof header, message.m_descriptors)) {
    return std::nullopt;
  }
  if ((header.flags & VERSION_MASK) != VERSION || (header.flags & IS_REPLY) != 0) {
    throw VirtioError("a message of another version; accepted is 1");
  }
  if (header.size > MAX_PAYLOAD) {
    throw VirtioError("a message of " + std::to_string(header.size) + " bytes; accepted are " +
                      std::to_string(MAX_PAYLOAD));
  }
  message.m_request = static_cast<VhostUserRequest>(header.request);
  message.m_size = header.size;
  if (header.size > 0 && !receiveAll(socket, message.m_payload.data(), header.size, message.m_descriptors)) {
    throw VirtioError("a message without its end");
  }
  return message;
}

template <typename Number>
Number VhostUserMessage::number(std::size_t place) const {
  Number number = 0;
  if (place + sizeof number > m_size) {
    throw VirtioError("a message that is too short");
  }
  std::memcpy(&number, m_payload.data() + place, sizeof number);
  return number;
}

std::uint32_t VhostUserMessage::word(std::size_t place) const {
  return number<std::uint32_t>(place);
}

std::uint64_t VhostUserMessage::longWord(std::size_t place) const {
  return number<std::uint64_t>(place);
}

FileDescriptor VhostUserMessage::takeDescriptor() {
  if (m_descriptors.empty()) {
    return FileDescriptor();
  }
  FileDescriptor first = std::move(m_descriptors.front());
  m_descriptors.erase(m_descriptors.begin());
  return first;
}

void replyToVhostUser(int socket, VhostUserRequest request, std::uint64_t number) {
  reply(socket, request, &number, sizeof number);
}

void replyToVhostUser(int socket, VhostUserRequest request, std::uint32_t index, std::uint32_t number) {
  const std::array<std::uint32_t, 2> state{index, number};
  reply(socket, request, state.data(), sizeof state);
}
