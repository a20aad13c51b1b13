#include "tests/support/virtio/virtual_machine.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

using Request = VhostUserRequest;

constexpr std::uint64_t ALL_FEATURES = 0x150000001; // those that a session offers

std::uint32_t number(Request request) {
  return static_cast<std::uint32_t>(request);
}

template <typename Number>
std::vector<std::uint8_t> bytesOf(const std::vector<Number>& numbers) {
  std::vector<std::uint8_t> bytes(numbers.size() * sizeof(Number));
  if (!numbers.empty()) {
    std::memcpy(bytes.data(), numbers.data(), bytes.size());
  }
  return bytes;
}

void require(bool done) {
  if (!done) {
    throw std::runtime_error("the virtual machine of the test cannot be made");
  }
}

} // namespace

std::vector<std::uint8_t> words(const std::vector<std::uint32_t>& numbers) {
  return bytesOf(numbers);
}

std::vector<std::uint8_t> longWords(const std::vector<std::uint64_t>& numbers) {
  return bytesOf(numbers);
}

std::vector<std::uint8_t> operator+(std::vector<std::uint8_t> first,
                                    const std::vector<std::uint8_t>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

std::vector<std::uint8_t> memoryTable(std::uint64_t guest, std::uint64_t size, std::uint64_t user,
                                      std::uint64_t offset) {
  return words({1, 0}) + longWords({guest, size, user, offset});
}

VirtualMachine::VirtualMachine()
    : m_memoryFile(memfd_create("memory", MFD_CLOEXEC | MFD_ALLOW_SEALING)),
      m_kick(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), m_call(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  std::array<int, 2> ends{};
  require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) == 0);
  m_ownEnd = FileDescriptor(ends[0]);
  m_cardsEnd = FileDescriptor(ends[1]);
  require(ftruncate(m_memoryFile.get(), SIZE) == 0 &&
          fcntl(m_memoryFile.get(), F_ADD_SEALS, F_SEAL_SHRINK) == 0);
  void* const pages = mmap(nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, m_memoryFile.get(), 0);
  require(pages != MAP_FAILED);
  m_memory = static_cast<std::uint8_t*>(pages);
}

VirtualMachine::~VirtualMachine() {
  munmap(m_memory, SIZE);
}

void VirtualMachine::sendBytes(const std::vector<std::uint8_t>& bytes, const std::vector<int>& files) {
  std::vector<std::uint8_t> sent = bytes;
  iovec place{sent.data(), sent.size()};
  msghdr message{};
  message.msg_iov = &place;
  message.msg_iovlen = 1;
  alignas(cmsghdr) std::array<char, CMSG_SPACE(16 * sizeof(int))> control{};
  if (!files.empty()) {
    message.msg_control = control.data();
    message.msg_controllen = CMSG_SPACE(files.size() * sizeof(int));
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    require(header != nullptr && files.size() <= 16);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(files.size() * sizeof(int));
    std::memcpy(CMSG_DATA(header), files.data(), files.size() * sizeof(int));
  }
  require(sendmsg(m_ownEnd.get(), &message, MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size()));
}

void VirtualMachine::send(std::uint32_t request, const std::vector<std::uint8_t>& payload,
                          const std::vector<int>& files) {
  sendBytes(words({request, 1, static_cast<std::uint32_t>(payload.size())}) + payload, files);
}

std::vector<std::uint8_t> VirtualMachine::received() {
  std::vector<std::uint8_t> bytes(4096);
  const ssize_t count = recv(m_ownEnd.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return bytes;
}

std::vector<VirtualMachine::Message> VirtualMachine::setUpMessages() const {
  return {{number(Request::SET_OWNER), {}, {}},
          {number(Request::SET_FEATURES), longWords({ALL_FEATURES}), {}},
          {number(Request::SET_MEM_TABLE), memoryTable(GUEST, SIZE, USER, 0), {m_memoryFile.get()}},
          {number(Request::SET_VRING_NUM), words({0, RING}), {}},
          {number(Request::SET_VRING_BASE), words({0, m_offered}), {}},
          {number(Request::SET_VRING_ADDR),
           words({0, 0}) + longWords({USER + DESCRIPTORS, USER + USED, USER + AVAILABLE, 0}),
           {}},
          {number(Request::SET_VRING_KICK), longWords({0}), {m_kick.get()}},
          {number(Request::SET_VRING_CALL), longWords({0}), {m_call.get()}},
          {number(Request::SET_VRING_ENABLE), words({0, 1}), {}}};
}

void VirtualMachine::put(std::uint32_t place, const std::vector<std::uint8_t>& bytes) {
  std::copy(bytes.begin(), bytes.end(), m_memory + place);
}

void VirtualMachine::putDescriptor(unsigned index, const RingDescriptor& descriptor, std::uint32_t table) {
  std::memcpy(m_memory + table + index * sizeof descriptor, &descriptor, sizeof descriptor);
}

void VirtualMachine::offer(std::uint16_t head) {
  const std::size_t place = AVAILABLE + RING_PLACES_OFFSET + std::size_t{2} * (m_offered % RING);
  std::memcpy(m_memory + place, &head, sizeof head);
  ++m_offered;
  std::memcpy(m_memory + AVAILABLE + RING_INDEX_OFFSET, &m_offered, sizeof m_offered);
  kick();
}

void VirtualMachine::kick() const {
  eventfd_write(m_kick.get(), 1);
}

std::uint16_t VirtualMachine::usedIndex() const {
  std::uint16_t index = 0;
  std::memcpy(&index, m_memory + USED + RING_INDEX_OFFSET, sizeof index);
  return index;
}

RingUsedElement VirtualMachine::lastUsed() const {
  RingUsedElement element{};
  const unsigned place = (usedIndex() + RING - 1U) % RING;
  std::memcpy(&element, m_memory + USED + RING_PLACES_OFFSET + place * sizeof element, sizeof element);
  return element;
}

std::uint64_t VirtualMachine::interrupts() const {
  eventfd_t count = 0;
  return eventfd_read(m_call.get(), &count) == 0 ? count : 0;
}
