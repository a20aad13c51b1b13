// A screen of styled characters in memory.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

enum class Colour { DEFAULT, RED, GREEN, YELLOW, BLUE, MAGENTA, CYAN };

struct Style {
  Colour colour = Colour::DEFAULT;
  bool bold = false;
  bool dim = false;
  bool reverse = false;

  bool operator==(const Style& other) const {
    return colour == other.colour && bold == other.bold && dim == other.dim && reverse == other.reverse;
  }
};

struct Cell {
  char32_t character = U' '; // takes one column
  Style style;
};

// Rows and columns count from 0. What does not fit is left out.
class Canvas {
public:
  Canvas(std::size_t rows, std::size_t columns);

  std::size_t rows() const { return m_rows; }
  std::size_t columns() const { return m_columns; }
  const Cell& at(std::size_t row, std::size_t column) const { return m_cells[row * m_columns + column]; }

  void put(std::size_t row, std::size_t column, char32_t character, Style style = {});

  // Bytes that are not printable ASCII, which could be the start of a control sequence, become '?'.
  void text(std::size_t row, std::size_t column, const std::string& text, Style style = {});

  // So that it ends at the right border.
  void textAtRight(std::size_t row, const std::string& text, Style style = {});

  void clearRow(std::size_t row, Style style = {});

  // A row without the blanks at its end, in UTF-8.
  std::string row(std::size_t row) const;

private:
  std::size_t m_rows;
  std::size_t m_columns;
  std::vector<Cell> m_cells;
};
