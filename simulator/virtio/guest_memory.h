// The memory that a virtual machine shares with us, in regions. Each address that comes from the machine is
// looked up here, so that nothing outside the regions is ever touched. One thread.
#pragma once

#include <cstdint>
#include <vector>

class GuestMemory {
public:
  struct Region {
    std::uint64_t guest;  // the first address as the machine's programs see it
    std::uint64_t size;   // in bytes
    std::uint64_t user;   // the first address as the emulator sees it
    std::uint64_t offset; // in the file
  };
  static constexpr std::size_t MAX_REGIONS = 8;

  GuestMemory() = default;
  ~GuestMemory() { clear(); }
  GuestMemory(const GuestMemory&) = delete;
  GuestMemory& operator=(const GuestMemory&) = delete;

  // Maps a region of the file `fd`, which stays the caller's. The file must be sealed against shrinking: a
  // read past the end of a file that has shrunk would end this process. Throws VirtioError.
  void add(const Region& region, int fd);
  // All pointers become invalid.
  void clear();

  // `size` bytes from an address on, or null unless they are in one region.
  std::uint8_t* atGuest(std::uint64_t address, std::uint64_t size) const;
  std::uint8_t* atUser(std::uint64_t address, std::uint64_t size) const;

private:
  struct Mapping {
    Region region;
    std::uint8_t* start; // of the region
    std::uint8_t* pages; // of the mapping, the first and the last of which cannot be touched
    std::uint64_t length;
  };

  std::vector<Mapping> m_mappings;
};
