// A split virtqueue in the memory of a virtual machine. What stands there may change at any time and may be
// anything: each descriptor is copied, checked and then used. One thread.
#pragma once

#include "simulator/virtio/guest_memory.h"
#include "simulator/virtio/ring_layout.h"

#include <cstdint>
#include <optional>
#include <vector>

// A piece of the machine's memory.
struct VirtBuffer {
  std::uint8_t* data;
  std::uint32_t size; // in bytes
};

// One request of the machine.
struct VirtChain {
  std::uint16_t head;               // its name in the ring
  std::vector<VirtBuffer> readable; // by us, the device
  std::vector<VirtBuffer> writable;
};

class VirtQueue {
public:
  static constexpr std::uint32_t MAX_SIZE = 1024; // descriptors in the ring, and in an indirect table

  // Addresses as the emulator sees them.
  struct Addresses {
    std::uint64_t descriptors = 0;
    std::uint64_t available = 0;
    std::uint64_t used = 0;
  };

  // `memory` outlives the queue.
  explicit VirtQueue(const GuestMemory& memory) : m_memory(memory) {}

  // A power of 2, 1 to MAX_SIZE. Throws VirtioError.
  void setSize(std::uint32_t size);
  // They are looked up again at each use, because the memory may be mapped anew.
  void setAddresses(const Addresses& addresses) { m_addresses = addresses; }
  // The number of requests that were taken, modulo 65536.
  void setTaken(std::uint16_t taken) { m_taken = taken; }
  std::uint16_t taken() const { return m_taken; }

  // The next request, or nothing. Throws VirtioError for a ring or a request that is against the rules.
  std::optional<VirtChain> take();
  // Gives a request back, `written` bytes of which were written. Throws VirtioError.
  void giveBack(const VirtChain& chain, std::uint32_t written);

private:
  struct Table {
    const std::uint8_t* start;
    std::uint32_t size; // in descriptors
    bool isIndirect;
  };

  static RingDescriptor descriptorAt(const std::uint8_t* table, std::uint32_t index);
  std::uint8_t* ringPart(std::uint64_t address, std::uint64_t size, std::uint64_t alignment) const;
  std::uint8_t* usedRing() const;
  std::uint64_t notifyOffset() const; // in the used ring
  void walk(const Table& table, std::uint16_t first, VirtChain& chain) const;
  Table indirectTable(const RingDescriptor& descriptor) const;
  void add(const RingDescriptor& descriptor, VirtChain& chain) const;

  const GuestMemory& m_memory;
  std::uint32_t m_size = 0;
  Addresses m_addresses;
  std::uint16_t m_taken = 0;
};
