// A directory for the files of one test.
#pragma once

#include <filesystem>
#include <string>

// A new directory that goes away with everything in it.
class TemporaryDirectory {
public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return m_path; }
  std::string file(const std::string& name) const { return (m_path / name).string(); }
  // Its path.
  std::string write(const std::string& name, const std::string& text) const;
  // How many files and folders it has.
  std::size_t entries() const;
  // Nothing if there is no such file.
  std::string read(const std::string& name) const;

private:
  std::filesystem::path m_path;
};
