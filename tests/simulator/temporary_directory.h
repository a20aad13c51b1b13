// A directory for the files of one test.
#pragma once

#include <filesystem>

// A new directory that goes away with everything in it.
class TemporaryDirectory {
public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return m_path; }

private:
  std::filesystem::path m_path;
};
