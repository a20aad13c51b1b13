#include "simulator/bus/transfer_record.h"

#include "text/text.h"

#include <cerrno>
#include <iomanip>
#include <system_error>

namespace {

const char* markOf(ChipAccess access) {
  switch (access) {
  case ChipAccess::UnknownRegister:
    return " unknown";
  case ChipAccess::ReadOnlyWrite:
    return " read-only";
  case ChipAccess::Regular:
    break;
  }
  return "";
}

} // namespace

TransferRecord::TransferRecord(const std::string& path, bool withTimes)
    : m_file(path), m_withTimes(withTimes) {
  if (!m_file) {
    const int error = errno;
    throw std::runtime_error("cannot write " + path + ": " + std::generic_category().message(error) +
                             "; accepted is a file that can be written");
  }
  m_file << std::fixed << std::setprecision(6);
}

void TransferRecord::add(std::chrono::nanoseconds at, const Transfer& transfer) {
  const bool isRead = transfer.direction == Transfer::Direction::Read;
  if (m_withTimes) {
    m_file << std::chrono::duration<double>(at).count() << ' ';
  }
  m_file << (isRead ? "R " : "W ") << text::hexadecimal(transfer.address);
  if (!isRead || transfer.done) {
    m_file << ' ' << text::hexadecimal(transfer.value);
  }
  m_file << (transfer.done ? "" : " failed") << markOf(transfer.access) << std::endl;
}
