// A file descriptor that is closed when its owner goes.
#pragma once

#include <utility>

#include <unistd.h>

class OwnedDescriptor {
public:
  OwnedDescriptor() = default;
  explicit OwnedDescriptor(int fd) : m_fd(fd) {}
  OwnedDescriptor(OwnedDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
  OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept {
    std::swap(m_fd, other.m_fd);
    return *this;
  }
  ~OwnedDescriptor() {
    if (m_fd >= 0) {
      close(m_fd);
    }
  }
  OwnedDescriptor(const OwnedDescriptor&) = delete;
  OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;

  int get() const { return m_fd; } // -1: none

private:
  int m_fd = -1;
};
