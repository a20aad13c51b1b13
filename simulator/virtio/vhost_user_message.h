// The messages by which an emulator sets a device of its machine up, over a Unix stream socket.
#pragma once

#include "posix/file_descriptor.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

// The requests that are understood, by their numbers in the protocol.
enum class VhostUserRequest : std::uint32_t {
  GET_FEATURES = 1,
  SET_FEATURES = 2,
  SET_OWNER = 3,
  RESET_OWNER = 4,
  SET_MEM_TABLE = 5,
  SET_VRING_NUM = 8,
  SET_VRING_ADDR = 9,
  SET_VRING_BASE = 10,
  GET_VRING_BASE = 11,
  SET_VRING_KICK = 12,
  SET_VRING_CALL = 13,
  SET_VRING_ERR = 14,
  GET_PROTOCOL_FEATURES = 15,
  SET_PROTOCOL_FEATURES = 16,
  GET_QUEUE_NUM = 17,
  SET_VRING_ENABLE = 18,
};

class VhostUserMessage {
public:
  static constexpr std::size_t MAX_PAYLOAD = 512;
  static constexpr std::size_t MAX_DESCRIPTORS = 8;

  // Reads one message; nothing at the end of the connection. Waits at most 2 s for the rest of a message that
  // has begun. Throws VirtioError for what is no message.
  static std::optional<VhostUserMessage> receive(int socket);

  VhostUserRequest request() const { return m_request; }
  // 32 or 64 bits at a place of the payload. Throws VirtioError when the payload ends before.
  std::uint32_t word(std::size_t place) const;
  std::uint64_t longWord(std::size_t place) const;
  // The first descriptor that is left, or none.
  FileDescriptor takeDescriptor();
  std::size_t descriptors() const { return m_descriptors.size(); }

private:
  template <typename Number>
  Number number(std::size_t place) const;

  VhostUserRequest m_request{};
  std::size_t m_size = 0;
  std::array<std::uint8_t, MAX_PAYLOAD> m_payload{};
  std::vector<FileDescriptor> m_descriptors;
};

// Sends the answer to a request; it has one number of 64 bits, or an index and a number of 32 bits each.
// Throws VirtioError when the peer does not take it at once.
void replyToVhostUser(int socket, VhostUserRequest request, std::uint64_t number);
void replyToVhostUser(int socket, VhostUserRequest request, std::uint32_t index, std::uint32_t number);
