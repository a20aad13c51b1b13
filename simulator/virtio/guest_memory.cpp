#include "simulator/virtio/guest_memory.h"

#include "simulator/virtio/virtio_error.h"

#include <cerrno>
#include <cstring>
#include <limits>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::uint64_t MAX_REGION = std::uint64_t{1} << 40U; // bytes

bool wraps(std::uint64_t start, std::uint64_t size) {
  return size > std::numeric_limits<std::uint64_t>::max() - start;
}

// Whether the `size` bytes from `address` on lie in the `length` bytes from `start` on.
bool contains(std::uint64_t start, std::uint64_t length, std::uint64_t address, std::uint64_t size) {
  return address >= start && address - start <= length && size <= length - (address - start);
}

void requireFileThatHolds(const GuestMemory::Region& region, int fd) {
  const int seals = fcntl(fd, F_GET_SEALS);
  if (seals < 0 || (seals & F_SEAL_SHRINK) == 0) {
    throw VirtioError("its memory can shrink; accepted is a memory-backend-memfd with share=on");
  }
  struct stat file {};
  if (fstat(fd, &file) != 0 || wraps(region.offset, region.size) ||
      region.offset + region.size > static_cast<std::uint64_t>(file.st_size)) {
    throw VirtioError("a region of its memory is larger than the memory's file");
  }
}

} // namespace

void GuestMemory::add(const Region& region, int fd) {
  if (m_mappings.size() == MAX_REGIONS) {
    throw VirtioError("its memory has too many regions; accepted are " + std::to_string(MAX_REGIONS));
  }
  if (region.size == 0 || region.size > MAX_REGION || wraps(region.guest, region.size) ||
      wraps(region.user, region.size)) {
    throw VirtioError("a region of its memory has a wrong size");
  }
  requireFileThatHolds(region, fd);
  const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  const std::uint64_t beforeStart = region.offset % page;
  // Rounded up to pages, with one on each side that nobody can touch.
  const std::uint64_t length = (region.size + beforeStart + 3 * page - 1) / page * page;
  void* const reserved = mmap(nullptr, length, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (reserved == MAP_FAILED) {
    throw VirtioError(std::string("its memory cannot be mapped: ") + std::strerror(errno));
  }
  auto* const pages = static_cast<std::uint8_t*>(reserved);
  m_mappings.push_back({region, pages + page + beforeStart, pages, length});
  if (mmap(pages + page, region.size + beforeStart, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, fd,
           static_cast<off_t>(region.offset - beforeStart)) == MAP_FAILED) {
    throw VirtioError(std::string("its memory cannot be mapped: ") + std::strerror(errno));
  }
}

void GuestMemory::clear() {
  for (const Mapping& mapping : m_mappings) {
    munmap(mapping.pages, mapping.length);
  }
  m_mappings.clear();
}

std::uint8_t* GuestMemory::atGuest(std::uint64_t address, std::uint64_t size) const {
  for (const Mapping& mapping : m_mappings) {
    if (contains(mapping.region.guest, mapping.region.size, address, size)) {
      return mapping.start + (address - mapping.region.guest);
    }
  }
  return nullptr;
}

std::uint8_t* GuestMemory::atUser(std::uint64_t address, std::uint64_t size) const {
  for (const Mapping& mapping : m_mappings) {
    if (contains(mapping.region.user, mapping.region.size, address, size)) {
      return mapping.start + (address - mapping.region.user);
    }
  }
  return nullptr;
}
