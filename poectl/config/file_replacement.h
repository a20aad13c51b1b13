// New contents for a file, which replace the old ones at once or not at all.
#pragma once

#include <string>

// Writes the new contents to a file beside the old one, with the same mode, owner and group; of a symbolic
// link, beside the file that it leads to. The destructor removes it again unless putInPlace() has been
// called. One thread.
class FileReplacement {
public:
  // Throws InputError when the path names no regular file, or when the contents cannot be written there.
  FileReplacement(const std::string& path, const std::string& contents);
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;
  ~FileReplacement();

  // Everybody sees either the old contents or the new ones. Throws InputError; then the old ones are still
  // there.
  void putInPlace();

private:
  void write(const std::string& contents);
  [[noreturn]] void fail(const std::string& what) const;

  const std::string m_path;
  std::string m_target;    // without symbolic links
  std::string m_temporary; // empty: there is none
};

// Writes everything to a descriptor and waits until the disk has it. False: errno says why not.
bool writeAndSync(int file, const std::string& contents);

// Writes the contents to `temporary`, a name in the directory of `path`, and renames that to `path`:
// everybody sees the file that was there before, or the whole new one. A file of the name `temporary` that a
// killed process has left is replaced. False: errno says why not; `path` is then as it was.
bool writeAside(const std::string& path, const std::string& temporary, const std::string& contents);
