#include "simulator/bus/transfer_record.h"

#include "text/text.h"
#include "text/text_file.h"

#include <iomanip>

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

TransferRecord::TransferRecord(const std::string& path, bool withTimes) : m_withTimes(withTimes) {
  requireWritableFile(path);
  m_file.open(path);
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
