// A virtual machine and its emulator as a session of the simulated card sees them: 64 KiB of memory, one
// ring, and a connection. Well-behaved unless the test writes something else. One thread.
#pragma once

#include "posix/file_descriptor.h"
#include "simulator/virtio/ring_layout.h"
#include "simulator/virtio/vhost_user_message.h"

#include <cstdint>
#include <vector>

class VirtualMachine {
public:
  static constexpr std::uint64_t GUEST = 0x10000000; // addresses of the memory's first byte
  static constexpr std::uint64_t USER = 0x7F0000000000;
  static constexpr std::uint32_t SIZE = 0x10000; // bytes
  static constexpr std::uint16_t RING = 4;       // descriptors
  // Places in the memory.
  static constexpr std::uint32_t DESCRIPTORS = 0;
  static constexpr std::uint32_t AVAILABLE = 0x1000;
  static constexpr std::uint32_t USED = 0x2000;
  static constexpr std::uint32_t TABLE = 0x3000; // of indirect descriptors
  static constexpr std::uint32_t DATA = 0x4000;

  VirtualMachine();
  ~VirtualMachine();
  VirtualMachine(const VirtualMachine&) = delete;
  VirtualMachine& operator=(const VirtualMachine&) = delete;

  // The card's end of the connection; to be taken once.
  FileDescriptor takeCardsEnd() { return std::move(m_cardsEnd); }
  // Closes ours, as an emulator that dies.
  void die() { m_ownEnd = FileDescriptor(); }
  void sendBytes(const std::vector<std::uint8_t>& bytes, const std::vector<int>& files = {});
  void send(std::uint32_t request, const std::vector<std::uint8_t>& payload = {},
            const std::vector<int>& files = {});
  // What has been answered and not been read yet.
  std::vector<std::uint8_t> received();

  // The messages that set the ring up, `SERVE` carries each of them out.
  template <typename Serve>
  void setUp(const Serve& serve) {
    for (const Message& message : setUpMessages()) {
      send(message.request, message.payload, message.files);
      serve();
    }
  }

  std::uint8_t* memory() { return m_memory; }
  void put(std::uint32_t place, const std::vector<std::uint8_t>& bytes);
  // A descriptor in the ring's table, or in another at `table`.
  void putDescriptor(unsigned index, const RingDescriptor& descriptor, std::uint32_t table = DESCRIPTORS);
  // Makes the chain that begins there available and notifies the card.
  void offer(std::uint16_t head);
  void kick() const;
  std::uint16_t usedIndex() const;
  RingUsedElement lastUsed() const;
  // Interrupts since the call before.
  std::uint64_t interrupts() const;

  int memoryFile() const { return m_memoryFile.get(); }
  int kickFile() const { return m_kick.get(); }

private:
  struct Message {
    std::uint32_t request;
    std::vector<std::uint8_t> payload;
    std::vector<int> files;
  };
  std::vector<Message> setUpMessages() const;

  FileDescriptor m_ownEnd;
  FileDescriptor m_cardsEnd;
  FileDescriptor m_memoryFile;
  FileDescriptor m_kick;
  FileDescriptor m_call;
  std::uint8_t* m_memory;
  std::uint16_t m_offered = 0;
};

// Numbers as they stand in a message, one after the other: 32 bits each, or 64 bits.
std::vector<std::uint8_t> words(const std::vector<std::uint32_t>& numbers);
std::vector<std::uint8_t> longWords(const std::vector<std::uint64_t>& numbers);
std::vector<std::uint8_t> operator+(std::vector<std::uint8_t> first, const std::vector<std::uint8_t>& second);

// One region of memory for a memory table.
std::vector<std::uint8_t> memoryTable(std::uint64_t guest, std::uint64_t size, std::uint64_t user,
                                      std::uint64_t offset);
