// A listening Unix stream socket, for its user only.
#pragma once

#include "posix/file_descriptor.h"

#include <stdexcept>
#include <string>

// Why there can be no socket at a path and what is accepted, in one line.
class ListenerError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

class UnixListener {
public:
  // A socket at `path` without a listener is replaced, anything else that exists is refused. Throws
  // ListenerError.
  explicit UnixListener(const std::string& path);
  // Removes the socket's file.
  ~UnixListener();
  UnixListener(const UnixListener&) = delete;
  UnixListener& operator=(const UnixListener&) = delete;

  int get() const { return m_socket.get(); } // does not block
  // The absolute path.
  const std::string& path() const { return m_path; }

private:
  const std::string m_path;
  const FileDescriptor m_socket;
};

// A connection to whoever listens at the path, or none. Does not wait and does not block.
FileDescriptor connectTo(const std::string& path);

// Whether the peer of a connection is a process of our user or of root.
bool isOfOurUser(int fd);
