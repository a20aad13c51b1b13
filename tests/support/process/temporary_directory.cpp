#include "tests/support/process/temporary_directory.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

TemporaryDirectory::TemporaryDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "poe_card_test.XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "mkdtemp");
  }
  m_path = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryDirectory::write(const std::string& name, const std::string& text) const {
  std::ofstream(file(name)) << text;
  return file(name);
}

std::size_t TemporaryDirectory::entries() const {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(m_path), {}));
}

std::string TemporaryDirectory::read(const std::string& name) const {
  std::ostringstream text;
  text << std::ifstream(file(name)).rdbuf();
  return text.str();
}
