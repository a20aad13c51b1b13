#include "simulator/card/register_dump.h"

#include "text/text.h"

#include <sstream>

namespace {

constexpr const char* HEADING = "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f";
constexpr const char* DIGITS = "0123456789abcdef";
constexpr unsigned ROWS = 16;
constexpr unsigned COLUMNS = 16;
constexpr std::size_t FIRST_CELL = 4; // after "00: "
constexpr std::size_t CELL = 3;       // "00 "

using Value = std::optional<std::uint8_t>;

std::string hexDigits(unsigned value) {
  return {DIGITS[value >> 4 & 0xF], DIGITS[value & 0xF]};
}

char character(unsigned value) {
  if (value == 0x00 || value == 0xFF) {
    return '.';
  }
  return value < ' ' || value > '~' ? '?' : static_cast<char>(value);
}

[[noreturn]] void fail(unsigned line, const std::string& what, const std::string& accepted) {
  throw RegisterDumpError("line " + std::to_string(line) + ": " + what + "; accepted " + accepted);
}

// -1: not a lower case hexadecimal digit, as i2cdump writes them.
int digit(char character) {
  const std::string digits = DIGITS;
  const std::size_t place = digits.find(character);
  return place == std::string::npos ? -1 : static_cast<int>(place);
}

// False: neither a value nor XX nor blanks.
bool parseCell(const std::string& text, Value* value) {
  if (text == "XX" || text == "  ") {
    value->reset();
    return true;
  }
  const int high = digit(text[0]);
  const int low = digit(text[1]);
  *value = static_cast<std::uint8_t>(16 * high + low);
  return high >= 0 && low >= 0;
}

// The row's first address.
unsigned parseRowAddress(const std::string& text, unsigned line, unsigned least) {
  const bool wellFormed = text.size() >= FIRST_CELL && digit(text[0]) >= 0 && text.compare(1, 3, "0: ") == 0;
  const unsigned row = wellFormed ? static_cast<unsigned>(digit(text[0])) : 0;
  if (least == ROWS) {
    fail(line, text::quoted(text.substr(0, FIRST_CELL)) + " is no row", "is the end");
  }
  if (!wellFormed || row < least) {
    fail(line, text::quoted(text.substr(0, FIRST_CELL)) + " is no row",
         "are '" + hexDigits(COLUMNS * least) + ": ' to 'f0: ', each once and rising");
  }
  return COLUMNS * row;
}

void parseRow(const std::string& row, unsigned line, unsigned first, RegisterImage* image) {
  for (unsigned column = 0; column < COLUMNS; ++column) {
    const std::size_t place = FIRST_CELL + CELL * column;
    // Of a row whose blanks at the end were taken off, the rest is blank.
    std::string cell = place < row.size() ? row.substr(place, CELL) : "";
    cell.resize(CELL, ' ');
    Value value;
    if (cell.back() != ' ' || !parseCell(cell.substr(0, CELL - 1), &value)) {
      fail(line, text::quoted(cell) + " is no value of register " + hexDigits(first + column),
           "are two digits 0 to 9 and a to f, XX or blanks, and a blank");
    }
    if (value && first + column > data_sheet::LAST_REGISTER) {
      fail(line, "there is no register " + hexDigits(first + column), "is XX or blanks above register ce");
    }
    if (first + column <= data_sheet::LAST_REGISTER) {
      image->at(first + column) = value;
    }
  }
}

} // namespace

std::string writeRegisterDump(const RegisterImage& image) {
  std::string text = std::string(HEADING) + "    " + DIGITS + "\n";
  for (unsigned row = 0; row < ROWS; ++row) {
    std::string characters;
    text += hexDigits(COLUMNS * row) + ": ";
    for (unsigned column = 0; column < COLUMNS; ++column) {
      const unsigned address = COLUMNS * row + column;
      if (address <= data_sheet::LAST_REGISTER && image.at(address).has_value()) {
        text += hexDigits(*image.at(address)) + " ";
        characters += character(*image.at(address));
      } else {
        text += "XX ";
        characters += 'X';
      }
    }
    text += "   " + characters + "\n";
  }
  return text;
}

RegisterImage readRegisterDump(const std::string& text) {
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  if (line.rfind(HEADING, 0) != 0) {
    fail(1, text::quoted(line) + " is not the heading", "is '" + std::string(HEADING) + "'");
  }
  RegisterImage image;
  unsigned next = 0; // row
  for (unsigned number = 2; std::getline(lines, line); ++number) {
    const unsigned first = parseRowAddress(line, number, next);
    parseRow(line, number, first, &image);
    next = first / COLUMNS + 1;
  }
  if (next == 0) {
    fail(2, "there is no row", "are '00: ' to 'f0: '");
  }
  return image;
}
