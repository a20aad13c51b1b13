#include "simulator/virtio/virt_queue.h"

#include "simulator/virtio/virtio_error.h"

#include <cstring>
#include <string>

#include <endian.h>

namespace {

constexpr std::uint64_t DESCRIPTOR_SIZE = sizeof(RingDescriptor);
constexpr std::uint64_t USED_ELEMENT_SIZE = sizeof(RingUsedElement);

// The machine's processors write these at the same time, so each is one access of 16 bits.
std::uint16_t load16(const std::uint8_t* at) {
  return le16toh(__atomic_load_n(reinterpret_cast<const std::uint16_t*>(at), __ATOMIC_SEQ_CST));
}

void store16(std::uint8_t* at, std::uint16_t value) {
  __atomic_store_n(reinterpret_cast<std::uint16_t*>(at), htole16(value), __ATOMIC_SEQ_CST);
}

} // namespace

void VirtQueue::setSize(std::uint32_t size) {
  if (size == 0 || size > MAX_SIZE || (size & (size - 1)) != 0) {
    throw VirtioError("a ring of " + std::to_string(size) + " descriptors; accepted are powers of 2 up to " +
                      std::to_string(MAX_SIZE));
  }
  m_size = size;
}

std::uint8_t* VirtQueue::ringPart(std::uint64_t address, std::uint64_t size, std::uint64_t alignment) const {
  std::uint8_t* const part = m_memory.atUser(address, size);
  if (m_size == 0 || part == nullptr || reinterpret_cast<std::uintptr_t>(part) % alignment != 0) {
    throw VirtioError("a ring that is not in its memory");
  }
  return part;
}

RingDescriptor VirtQueue::descriptorAt(const std::uint8_t* table, std::uint32_t index) {
  // Byte by byte through volatile, so that the compiler cannot read the memory a second time later.
  const volatile std::uint8_t* const from = table + index * DESCRIPTOR_SIZE;
  std::uint8_t bytes[DESCRIPTOR_SIZE];
  for (std::size_t byte = 0; byte < sizeof bytes; ++byte) {
    bytes[byte] = from[byte];
  }
  RingDescriptor descriptor{};
  std::memcpy(&descriptor, bytes, sizeof descriptor);
  return {le64toh(descriptor.address), le32toh(descriptor.size), le16toh(descriptor.flags),
          le16toh(descriptor.next)};
}

std::optional<VirtChain> VirtQueue::take() {
  // QEMU 7.2 lets the machine choose notifications by index without a word to us. Such a machine is silent
  // unless it reads here, before its index is looked at, that its next request is to be notified.
  store16(usedRing() + notifyOffset(), m_taken);
  const std::uint8_t* const available =
      ringPart(m_addresses.available, RING_PLACES_OFFSET + 2ULL * m_size, 2);
  const auto waiting = static_cast<std::uint16_t>(load16(available + RING_INDEX_OFFSET) - m_taken);
  if (waiting == 0) {
    return std::nullopt;
  }
  if (waiting > m_size) {
    throw VirtioError("more requests than its ring has places");
  }
  const std::uint16_t head = load16(available + RING_PLACES_OFFSET + 2ULL * (m_taken % m_size));
  const std::uint8_t* const table =
      ringPart(m_addresses.descriptors, DESCRIPTOR_SIZE * m_size, DESCRIPTOR_SIZE);
  VirtChain chain{head, {}, {}};
  ++m_taken;
  walk({table, m_size, false}, head, chain);
  return chain;
}

void VirtQueue::walk(const Table& table, std::uint16_t first, VirtChain& chain) const {
  std::uint16_t next = first;
  for (std::uint32_t count = 0; count < table.size; ++count) {
    if (next >= table.size) {
      throw VirtioError("a descriptor beyond its table");
    }
    const RingDescriptor descriptor = descriptorAt(table.start, next);
    if ((descriptor.flags & DESCRIPTOR_INDIRECT) == 0) {
      add(descriptor, chain);
    } else if (table.isIndirect) {
      throw VirtioError("a table of descriptors in another");
    } else {
      walk(indirectTable(descriptor), 0, chain);
    }
    if ((descriptor.flags & DESCRIPTOR_NEXT) == 0) {
      return;
    }
    next = descriptor.next;
  }
  throw VirtioError("a chain of descriptors without an end");
}

VirtQueue::Table VirtQueue::indirectTable(const RingDescriptor& descriptor) const {
  const auto size = static_cast<std::uint32_t>(descriptor.size / DESCRIPTOR_SIZE);
  if ((descriptor.flags & DESCRIPTOR_NEXT) != 0 || descriptor.size % DESCRIPTOR_SIZE != 0 || size == 0 ||
      size > MAX_SIZE) {
    throw VirtioError("a table of descriptors with a wrong size or place");
  }
  const std::uint8_t* const start = m_memory.atGuest(descriptor.address, descriptor.size);
  if (start == nullptr) {
    throw VirtioError("a table of descriptors that is not in its memory");
  }
  return {start, size, true};
}

void VirtQueue::add(const RingDescriptor& descriptor, VirtChain& chain) const {
  std::uint8_t* const data = m_memory.atGuest(descriptor.address, descriptor.size);
  if (descriptor.size == 0 || data == nullptr) {
    throw VirtioError("a buffer that is empty or not in its memory");
  }
  if ((descriptor.flags & DESCRIPTOR_WRITE) != 0) {
    chain.writable.push_back({data, descriptor.size});
  } else if (chain.writable.empty()) {
    chain.readable.push_back({data, descriptor.size});
  } else {
    throw VirtioError("a buffer to read after one to write");
  }
}

void VirtQueue::giveBack(const VirtChain& chain, std::uint32_t written) {
  std::uint8_t* const used = usedRing();
  const std::uint16_t done = load16(used + RING_INDEX_OFFSET);
  RingUsedElement element{};
  element.head = htole32(chain.head);
  element.written = htole32(written);
  std::memcpy(used + RING_PLACES_OFFSET + USED_ELEMENT_SIZE * (done % m_size), &element, sizeof element);
  store16(used + RING_INDEX_OFFSET, static_cast<std::uint16_t>(done + 1));
}

std::uint8_t* VirtQueue::usedRing() const {
  return ringPart(m_addresses.used, notifyOffset() + 2, 4);
}

std::uint64_t VirtQueue::notifyOffset() const {
  return RING_PLACES_OFFSET + USED_ELEMENT_SIZE * m_size;
}
