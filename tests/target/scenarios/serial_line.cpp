#include "tests/target/scenarios/serial_line.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

SerialLine::SerialLine(const char* device) : m_fd(open(device, O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  termios settings{};
  if (m_fd < 0 || tcgetattr(m_fd, &settings) != 0) {
    throw std::system_error(errno, std::generic_category(), device);
  }
  cfmakeraw(&settings);
  cfsetspeed(&settings, B115200);
  tcsetattr(m_fd, TCSANOW, &settings);
}

SerialLine::~SerialLine() {
  close(m_fd);
}

std::string SerialLine::read() {
  std::size_t end = 0;
  while ((end = m_received.find('\n')) == std::string::npos) {
    char block[256];
    const ssize_t count = ::read(m_fd, block, sizeof block);
    m_received.append(block, count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  std::string line = m_received.substr(0, end);
  m_received.erase(0, end + 1);
  return line;
}

void SerialLine::write(const std::string& line) {
  const std::string bytes = line + "\n";
  for (std::size_t written = 0; written < bytes.size();) {
    const ssize_t count = ::write(m_fd, bytes.data() + written, bytes.size() - written);
    written += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
}

std::string SerialLine::askCard(const std::string& words) {
  write(words);
  std::string reply;
  std::string line;
  do {
    line = read();
    reply += line + "\n";
  } while (!line.empty());
  return reply;
}
