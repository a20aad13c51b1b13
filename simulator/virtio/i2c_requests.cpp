#include "simulator/virtio/i2c_requests.h"

#include "simulator/card/simulated_card.h"
#include "simulator/virtio/virtio_error.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include <endian.h>
#include <linux/virtio_i2c.h>

namespace {

constexpr std::uint16_t CHIP_ADDRESS = 0x20U << 1U;
constexpr std::size_t HEADER_SIZE = sizeof(virtio_i2c_out_hdr);
constexpr std::size_t MAX_DATA = 2; // a register and its value

std::uint64_t sizeOf(const std::vector<VirtBuffer>& buffers) {
  std::uint64_t size = 0;
  for (const VirtBuffer& buffer : buffers) {
    size += buffer.size;
  }
  return size;
}

} // namespace

struct I2cRequests::Request {
  bool toTheChip;
  bool isRead;
  bool isOfAGroup;                           // another request follows, which fails with this one
  std::array<std::uint8_t, MAX_DATA> data{}; // to write
  std::uint64_t dataSize;                    // may be more than the data here
  std::uint8_t* result;                      // the first byte that is read
};

std::uint32_t I2cRequests::serve(const VirtChain& chain) {
  const std::uint64_t readable = sizeOf(chain.readable);
  const std::uint64_t writable = sizeOf(chain.writable);
  if (readable < HEADER_SIZE || writable < sizeof(virtio_i2c_in_hdr)) {
    throw VirtioError("a request without its headers");
  }
  std::array<std::uint8_t, HEADER_SIZE + MAX_DATA> bytes{};
  std::size_t copied = 0;
  for (const VirtBuffer& buffer : chain.readable) {
    const std::size_t count = std::min<std::size_t>(buffer.size, bytes.size() - copied);
    std::memcpy(bytes.data() + copied, buffer.data, count);
    copied += count;
  }
  virtio_i2c_out_hdr header{};
  std::memcpy(&header, bytes.data(), sizeof header);
  const std::uint32_t flags = le32toh(header.flags);
  const bool isRead = (flags & VIRTIO_I2C_FLAGS_M_RD) != 0;
  Request request{le16toh(header.addr) == CHIP_ADDRESS,           isRead,
                  (flags & VIRTIO_I2C_FLAGS_FAIL_NEXT) != 0,      {},
                  isRead ? writable - 1 : readable - HEADER_SIZE, chain.writable.front().data};
  std::copy_n(bytes.begin() + HEADER_SIZE, MAX_DATA, request.data.begin());

  const bool done = !m_groupFails && carryOut(request);
  m_groupFails = !done && request.isOfAGroup;
  const VirtBuffer& last = chain.writable.back();
  last.data[last.size - 1] = done ? VIRTIO_I2C_MSG_OK : VIRTIO_I2C_MSG_ERR;
  return static_cast<std::uint32_t>(writable);
}

bool I2cRequests::carryOut(const Request& request) {
  const std::optional<std::uint8_t> reg = std::exchange(m_register, std::nullopt);
  if (!request.toTheChip) {
    return false;
  }
  if (request.dataSize == 0) {
    return m_card.acknowledges();
  }
  return request.isRead ? reg && read(*reg, request) : write(request);
}

bool I2cRequests::write(const Request& request) {
  if (request.dataSize == 2) {
    return m_card.write(request.data[0], request.data[1]);
  }
  if (request.dataSize != 1 || !request.isOfAGroup) {
    return false;
  }
  m_register = request.data[0]; // whether the transfer fails shows at the read
  return true;
}

bool I2cRequests::read(std::uint8_t reg, const Request& request) {
  std::uint8_t value = 0;
  if (request.dataSize != 1 || !m_card.read(reg, &value)) {
    return false;
  }
  *request.result = value;
  return true;
}
