// Sole owner of a file descriptor; its destructor closes it.
#pragma once

#include <utility>

#include <unistd.h>

class FileDescriptor {
public:
  explicit FileDescriptor(int descriptor = -1) noexcept : m_descriptor(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
  }
  ~FileDescriptor() {
    if (m_descriptor >= 0) {
      close(m_descriptor);
    }
  }

  bool isOpen() const { return m_descriptor >= 0; }
  int get() const { return m_descriptor; }

private:
  int m_descriptor;
};
