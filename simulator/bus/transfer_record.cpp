#include "simulator/bus/transfer_record.h"

#include "simulator/card/hexadecimal.h"

#include <cerrno>
#include <iomanip>
#include <system_error>

TransferRecord::TransferRecord(const std::string& path, bool withTimes)
    : m_file(path), m_withTimes(withTimes) {
  if (!m_file) {
    const int error = errno;
    throw std::runtime_error("cannot write " + path + ": " + std::generic_category().message(error) +
                             "; accepted is a file that can be written");
  }
  m_file << std::fixed << std::setprecision(6);
}

void TransferRecord::read(std::chrono::nanoseconds at, std::uint8_t address, std::uint8_t value, bool done) {
  beginLine(at, 'R', address);
  m_file << (done ? hexadecimal(value) : "failed") << std::endl;
}

void TransferRecord::write(std::chrono::nanoseconds at, std::uint8_t address, std::uint8_t value, bool done) {
  beginLine(at, 'W', address);
  m_file << hexadecimal(value) << (done ? "" : " failed") << std::endl;
}

void TransferRecord::beginLine(std::chrono::nanoseconds at, char direction, std::uint8_t address) {
  if (m_withTimes) {
    m_file << std::chrono::duration<double>(at).count() << ' ';
  }
  m_file << direction << ' ' << hexadecimal(address) << ' ';
}
