#include "simulator/bus/transfer_record.h"

#include "simulator/card/hexadecimal.h"
#include "simulator/card/text_file.h"

#include <iomanip>

TransferRecord::TransferRecord(const std::string& path, bool withTimes) : m_withTimes(withTimes) {
  requireWritableFile(path);
  m_file.open(path);
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
