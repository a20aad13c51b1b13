#include "poectl/scenario/tap.h"

#include <sstream>

namespace {

// A bare # would start a directive.
std::string escaped(const std::string& description) {
  std::string text;
  for (const char character : description) {
    if (character == '#' || character == '\\') {
      text += '\\';
    }
    text += character;
  }
  return text;
}

} // namespace

Tap::Tap(std::ostream& out, std::size_t tests) : m_out(out) {
  line("TAP version 13");
  line("1.." + std::to_string(tests));
}

void Tap::result(bool ok, const std::string& description) {
  m_number++;
  m_ok = m_ok && ok;
  line((ok ? "ok " : "not ok ") + std::to_string(m_number) + " - " + escaped(description));
}

void Tap::comment(const std::string& text) {
  std::istringstream lines(text);
  for (std::string part; std::getline(lines, part);) {
    line(part.empty() ? "#" : "# " + part);
  }
}

void Tap::bailOut(const std::string& reason) {
  m_ok = false;
  line("Bail out! " + reason);
}

// Whoever reads along sees each result at once.
void Tap::line(const std::string& text) {
  m_out << text << '\n' << std::flush;
}
