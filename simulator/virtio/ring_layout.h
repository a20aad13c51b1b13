// The split ring in a machine's memory as the virtio standard lays it out. All numbers are in little-endian
// order.
#pragma once

#include <cstdint>

struct RingDescriptor {
  std::uint64_t address; // as the machine's programs see it
  std::uint32_t size;    // in bytes
  std::uint16_t flags;
  std::uint16_t next; // index
};

struct RingUsedElement {
  std::uint32_t head; // index of the first descriptor
  std::uint32_t written;
};

constexpr std::uint16_t DESCRIPTOR_NEXT = 1;     // another follows
constexpr std::uint16_t DESCRIPTOR_WRITE = 2;    // the device writes
constexpr std::uint16_t DESCRIPTOR_INDIRECT = 4; // is a table of descriptors

// Both rings have flags, an index of 16 bits each and then their places; the used ring ends with the index of
// the request that is to be notified.
constexpr std::uint64_t RING_INDEX_OFFSET = 2;
constexpr std::uint64_t RING_PLACES_OFFSET = 4;

constexpr unsigned FEATURE_INDIRECT_DESCRIPTORS = 28; // bit
