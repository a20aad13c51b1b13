#include "simulator/virtio/vhost_user_session.h"

#include "simulator/virtio/ring_layout.h"
#include "simulator/virtio/virtio_error.h"

#include <utility>

#include <linux/virtio_config.h>
#include <linux/virtio_i2c.h>
#include <poll.h>
#include <unistd.h>

namespace {

using Request = VhostUserRequest;

constexpr std::uint64_t bit(unsigned number) {
  return std::uint64_t{1} << number;
}

constexpr std::uint64_t PROTOCOL_FEATURES = bit(30);
constexpr std::uint64_t FEATURES = bit(VIRTIO_F_VERSION_1) | PROTOCOL_FEATURES |
                                   bit(FEATURE_INDIRECT_DESCRIPTORS) | bit(VIRTIO_I2C_F_ZERO_LENGTH_REQUEST);
constexpr std::uint64_t QUEUES = 1;
// Of the number that comes with the descriptors of a ring.
constexpr std::uint64_t INDEX_MASK = 0xFF;

// Whether a descriptor is ready; -1 is not.
bool isReady(int fd, short events) {
  pollfd state{fd, events, 0};
  return poll(&state, 1, 0) == 1 && (state.revents & events) != 0;
}

void requireFirst(std::uint64_t index) {
  if (index != 0) {
    throw VirtioError("another ring; accepted is ring 0");
  }
}

// These descriptors come from the emulator and may be of any kind: neither call waits.
void drain(const FileDescriptor& notification) {
  std::uint64_t count = 0;
  if (isReady(notification.get(), POLLIN) && read(notification.get(), &count, sizeof count) != sizeof count) {
    throw VirtioError("a notification that is no eventfd");
  }
}

void notify(const FileDescriptor& notification) {
  const std::uint64_t one = 1;
  if (isReady(notification.get(), POLLOUT) && write(notification.get(), &one, sizeof one) != sizeof one) {
    throw VirtioError("a notification that is no eventfd");
  }
}

} // namespace

VhostUserSession::VhostUserSession(FileDescriptor socket, SimulatedCard& card, Report report)
    : m_socket(std::move(socket)), m_report(std::move(report)), m_requests(card) {}

bool VhostUserSession::serveMessage() {
  try {
    std::optional<VhostUserMessage> message = VhostUserMessage::receive(m_socket.get());
    if (!message) {
      if (isRunning()) {
        m_report("the machine has gone while it used the card");
      }
      return false;
    }
    handle(*message);
    return true;
  } catch (const VirtioError& error) {
    m_report(std::string("the emulator sent ") + error.what() + "; the connection is closed");
    return false;
  }
}

void VhostUserSession::handle(VhostUserMessage& message) {
  const Request request = message.request();
  switch (request) {
  case Request::GET_FEATURES:
    replyToVhostUser(m_socket.get(), request, FEATURES);
    break;
  case Request::SET_FEATURES:
    // QEMU 7.2 also sends features of the ring that nobody has offered.
    m_enabled = (message.longWord(0) & PROTOCOL_FEATURES) == 0;
    break;
  case Request::GET_PROTOCOL_FEATURES:
    replyToVhostUser(m_socket.get(), request, 0);
    break;
  case Request::GET_QUEUE_NUM:
    replyToVhostUser(m_socket.get(), request, QUEUES);
    break;
  case Request::SET_MEM_TABLE:
    setMemory(message);
    break;
  case Request::SET_OWNER:
  case Request::SET_PROTOCOL_FEATURES:
  case Request::SET_VRING_ERR:
    break;
  case Request::RESET_OWNER:
    stopRing();
    break;
  default:
    handleRing(message);
    break;
  }
}

void VhostUserSession::handleRing(VhostUserMessage& message) {
  const Request request = message.request();
  switch (request) {
  case Request::SET_VRING_NUM:
    requireFirst(message.word(0));
    m_queue.setSize(message.word(4));
    break;
  case Request::SET_VRING_ADDR:
    requireFirst(message.word(0));
    m_queue.setAddresses({message.longWord(8), message.longWord(24), message.longWord(16)});
    break;
  case Request::SET_VRING_BASE:
    requireFirst(message.word(0));
    m_queue.setTaken(static_cast<std::uint16_t>(message.word(4)));
    break;
  case Request::GET_VRING_BASE:
    requireFirst(message.word(0));
    stopRing();
    replyToVhostUser(m_socket.get(), request, 0, m_queue.taken());
    break;
  case Request::SET_VRING_KICK:
    requireFirst(message.longWord(0) & INDEX_MASK);
    m_kick = message.takeDescriptor();
    m_broken = false;
    break;
  case Request::SET_VRING_CALL:
    requireFirst(message.longWord(0) & INDEX_MASK);
    m_call = message.takeDescriptor();
    break;
  case Request::SET_VRING_ENABLE:
    requireFirst(message.word(0));
    m_enabled = message.word(4) != 0;
    break;
  default:
    throw VirtioError("message " + std::to_string(static_cast<std::uint32_t>(request)) +
                      ", which is not understood");
  }
  // Requests that were made while the ring was not in use come without a kick.
  if (isRunning() && request != Request::SET_VRING_CALL) {
    serveRequests();
  }
}

void VhostUserSession::setMemory(VhostUserMessage& message) {
  constexpr std::size_t FIRST_REGION = 8;
  constexpr std::size_t REGION_SIZE = 32;
  const std::size_t count = message.word(0);
  if (count != message.descriptors()) {
    throw VirtioError("a memory table without a descriptor for each region");
  }
  m_memory.clear();
  for (std::size_t region = 0; region < count; ++region) {
    const std::size_t place = FIRST_REGION + region * REGION_SIZE;
    const FileDescriptor file = message.takeDescriptor();
    m_memory.add({message.longWord(place), message.longWord(place + 8), message.longWord(place + 16),
                  message.longWord(place + 24)},
                 file.get());
  }
}

void VhostUserSession::serveRequests() {
  try {
    drain(m_kick);
    // Not for ever: the emulator is to be heard, too.
    for (std::uint32_t count = 0; count < VirtQueue::MAX_SIZE; ++count) {
      const std::optional<VirtChain> chain = m_queue.take();
      if (!chain) {
        return;
      }
      m_queue.giveBack(*chain, m_requests.serve(*chain));
      notify(m_call);
    }
    notify(m_kick);
  } catch (const VirtioError& error) {
    m_broken = true;
    m_report(std::string("the machine's driver made ") + error.what() +
             "; the card is silent until the driver starts anew");
  }
}

void VhostUserSession::stopRing() {
  m_kick = FileDescriptor();
  m_broken = false;
}
