#include "poectl/view/view_bars.h"

#include "text/text.h"

#include <algorithm>

namespace {

constexpr std::uint32_t EIGHTHS = 8;
constexpr std::size_t SCALE_COLUMNS = 5;       // " 100 "
constexpr char32_t FROM_LEFT[] = U" ▏▎▍▌▋▊▉█"; // by eighths
constexpr char32_t FROM_BELOW[] = U" ▁▂▃▄▅▆▇█";
constexpr Colour SHARE_COLOURS[] = {Colour::GREEN, Colour::CYAN, Colour::MAGENTA, Colour::YELLOW};
constexpr Style FAINT{Colour::DEFAULT, false, true, false};

char32_t restOfBar(bool unicode) {
  return unicode ? U'·' : U'-';
}

// `value` of `full` in `steps` steps. A value above 0 takes at least one.
std::uint32_t scaled(std::uint32_t value, std::uint32_t full, std::size_t steps) {
  if (value == 0 || full == 0) {
    return 0;
  }
  const auto result = static_cast<std::uint32_t>(std::uint64_t{std::min(value, full)} * steps / full);
  return std::max(result, 1U);
}

// The character of the cell `index`, counted from the start of a bar that is `length` steps long.
char32_t barCell(std::uint32_t length, std::size_t index, bool unicode, const char32_t* eighths) {
  if (!unicode) {
    return length > index ? U'#' : U' ';
  }
  const std::size_t start = index * EIGHTHS;
  return length <= start ? U' ' : eighths[std::min<std::size_t>(length - start, EIGHTHS)];
}

std::uint32_t highest(const ConsumptionHistory& history, std::size_t entries) {
  std::uint32_t value = 1;
  for (std::size_t age = 0; age < entries; age++) {
    if (const auto sample = history.at(age)) {
      value = std::max({value, sample->consumption, sample->limit});
    }
  }
  return value;
}

void drawSample(Canvas& canvas, const Box& box, std::size_t column, const ConsumptionSample& sample,
                std::uint32_t top, bool unicode) {
  const std::size_t steps = box.rows * (unicode ? EIGHTHS : 1);
  const std::uint32_t length = scaled(sample.consumption, top, steps);
  const std::uint32_t limitRow = scaled(sample.limit, top, box.rows);
  const Style style{loadColour(sample.consumption, sample.limit)};
  for (std::size_t above = 0; above < box.rows; above++) {
    const std::size_t row = box.row + box.rows - 1 - above;
    const char32_t character = barCell(length, above, unicode, FROM_BELOW);
    if (character != U' ') {
      canvas.put(row, column, character, style);
    } else if (above + 1 == limitRow) {
      canvas.put(row, column, unicode ? U'─' : U'-', FAINT);
    }
  }
}

} // namespace

void drawBar(Canvas& canvas, const Box& box, std::uint32_t value, std::uint32_t full, Style style,
             bool unicode) {
  const std::uint32_t length = scaled(value, full, box.columns * (unicode ? EIGHTHS : 1));
  for (std::size_t index = 0; index < box.columns; index++) {
    const char32_t character = barCell(length, index, unicode, FROM_LEFT);
    if (character == U' ') {
      canvas.put(box.row, box.column + index, restOfBar(unicode), FAINT);
    } else {
      canvas.put(box.row, box.column + index, character, style);
    }
  }
}

void drawShares(Canvas& canvas, const Box& box, const std::array<std::uint32_t, 4>& shares,
                std::uint32_t full, bool unicode) {
  std::uint32_t sum = 0;
  for (const std::uint32_t share : shares) {
    sum += share;
  }
  full = std::max(full, sum);
  std::size_t index = 0;
  sum = 0;
  for (std::size_t port = 0; port < shares.size(); port++) {
    sum += shares[port];
    const std::size_t end = scaled(sum, full, box.columns);
    for (; shares[port] != 0 && index < end; index++) {
      canvas.put(box.row, box.column + index, static_cast<char32_t>(U'0' + port),
                 {SHARE_COLOURS[port], false, false, true});
    }
  }
  for (; index < box.columns; index++) {
    canvas.put(box.row, box.column + index, restOfBar(unicode), FAINT);
  }
}

void drawHistory(Canvas& canvas, const Box& box, const ConsumptionHistory& history, bool unicode) {
  const std::size_t entries = historyColumns(box.columns);
  const std::uint32_t top = highest(history, entries);
  canvas.text(box.row, box.column, text::formatted("%4u", top), FAINT);
  canvas.text(box.row + box.rows - 1, box.column, "   0", FAINT);
  for (std::size_t age = 0; age < entries; age++) {
    if (const auto sample = history.at(age)) {
      drawSample(canvas, box, box.column + box.columns - 1 - age, *sample, top, unicode);
    }
  }
}

Colour loadColour(std::uint32_t value, std::uint32_t limit) {
  if (value > limit) {
    return Colour::RED;
  }
  return std::uint64_t{value} * 10 >= std::uint64_t{limit} * 9 ? Colour::YELLOW : Colour::GREEN;
}

std::size_t historyColumns(std::size_t columns) {
  return columns > SCALE_COLUMNS ? columns - SCALE_COLUMNS : 0;
}
