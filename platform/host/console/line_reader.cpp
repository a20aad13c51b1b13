#include "platform/host/console/line_reader.h"

#include <cstring>

bool LineReader::hasLine() const {
  return std::memchr(m_bytes.data(), '\n', m_used) != nullptr;
}

LineReader::Result LineReader::next(std::string* line) {
  const void* const end = std::memchr(m_bytes.data(), '\n', m_used);
  if (end == nullptr) {
    // One byte over the limit may still be the "\r" of the line end.
    if (m_skipping || m_used > MAX_LINE_LENGTH + 1) {
      m_skipping = true;
      m_used = 0;
    }
    return Result::NONE;
  }
  const auto size = static_cast<std::size_t>(static_cast<const char*>(end) - m_bytes.data());
  const std::size_t length = size > 0 && m_bytes[size - 1] == '\r' ? size - 1 : size;
  const bool tooLong = m_skipping || length > MAX_LINE_LENGTH;
  if (!tooLong) {
    line->assign(m_bytes.data(), length);
  }
  m_skipping = false;
  drop(size + 1);
  return tooLong ? Result::TOO_LONG : Result::LINE;
}

void LineReader::drop(std::size_t count) {
  m_used -= count;
  std::memmove(m_bytes.data(), m_bytes.data() + count, m_used);
}
