// The requests of a virtio I2C adapter, carried out on the simulated card. A machine's kernel makes a read of
// a register from two requests, which belong together: a write of the register's address and a read of one
// byte. One thread.
#pragma once

#include "simulator/virtio/virt_queue.h"

#include <cstdint>
#include <optional>

class SimulatedCard;

class I2cRequests {
public:
  // `card` outlives this object.
  explicit I2cRequests(SimulatedCard& card) : m_card(card) {}

  // Carries the request out, and returns how many bytes it has written to the machine's memory. A transfer
  // that fails is an answer too. Throws VirtioError for a request without its two headers.
  std::uint32_t serve(const VirtChain& chain);

private:
  struct Request;

  bool carryOut(const Request& request);
  bool write(const Request& request);
  bool read(std::uint8_t reg, const Request& request);

  SimulatedCard& m_card;
  std::optional<std::uint8_t> m_register; // what the next request of the group reads
  bool m_groupFails = false;              // the rest of it fails, too
};
