#include "poectl/view/canvas.h"

#include <cstdint>

namespace {

constexpr char FIRST_PRINTABLE = ' ';
constexpr char LAST_PRINTABLE = '~';

// The characters of a view are of the basic plane: three bytes at most.
void appendUtf8(std::string& text, char32_t character) {
  const auto code = static_cast<std::uint32_t>(character);
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0 | code >> 6);
    text += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    text += static_cast<char>(0xE0 | code >> 12);
    text += static_cast<char>(0x80 | (code >> 6 & 0x3F));
    text += static_cast<char>(0x80 | (code & 0x3F));
  }
}

} // namespace

Canvas::Canvas(std::size_t rows, std::size_t columns)
    : m_rows(rows), m_columns(columns), m_cells(rows * columns) {}

void Canvas::put(std::size_t row, std::size_t column, char32_t character, Style style) {
  if (row < m_rows && column < m_columns) {
    m_cells[row * m_columns + column] = {character, style};
  }
}

void Canvas::text(std::size_t row, std::size_t column, const std::string& text, Style style) {
  for (const char character : text) {
    const bool isPrintable = character >= FIRST_PRINTABLE && character <= LAST_PRINTABLE;
    put(row, column, static_cast<char32_t>(isPrintable ? character : '?'), style);
    column++;
  }
}

void Canvas::textAtRight(std::size_t row, const std::string& line, Style style) {
  text(row, line.size() < m_columns ? m_columns - line.size() : 0, line, style);
}

void Canvas::clearRow(std::size_t row, Style style) {
  for (std::size_t column = 0; column < m_columns; column++) {
    put(row, column, U' ', style);
  }
}

std::string Canvas::row(std::size_t row) const {
  std::string line;
  for (std::size_t column = 0; column < m_columns; column++) {
    appendUtf8(line, at(row, column).character);
  }
  line.resize(line.find_last_not_of(' ') + 1);
  return line;
}
