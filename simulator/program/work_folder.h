// The folder for the files of one poe_card: $TMPDIR/poe_card.XXXXXX, for its user only. A lock on a file in
// it says that its process is alive.
#pragma once

#include "posix/file_descriptor.h"

#include <string>

class WorkFolder {
public:
  // Removes the folders of this user's dead processes in $TMPDIR, or /tmp, and makes a new one. Throws
  // std::runtime_error, one line: why there can be none and what is accepted.
  WorkFolder();
  // Removes the folder and what is in it.
  ~WorkFolder();
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  // Absolute, and short enough for the sockets of the simulated adapter.
  const std::string& path() const { return m_path; }
  // The same as at the end; for an end that runs no destructors. May be called from any thread.
  void remove() const noexcept;

private:
  bool tryToMake(const std::string& parent);

  std::string m_path;
  FileDescriptor m_lock;
};
