// The graphic parts of the live view.
#pragma once

#include "poectl/view/canvas.h"
#include "poectl/view/consumption_history.h"

#include <array>
#include <cstdint>

struct Box {
  std::size_t row;
  std::size_t column;
  std::size_t rows;
  std::size_t columns;
};

// `value` of `full` as a bar from the left; what is beyond `full` fills it.
void drawBar(Canvas& canvas, const Box& box, std::uint32_t value, std::uint32_t full, Style style,
             bool unicode);

// The shares of the ports as their numbers, one after the other, of `full`.
void drawShares(Canvas& canvas, const Box& box, const std::array<std::uint32_t, 4>& shares,
                std::uint32_t full, bool unicode);

// The history with the newest entry at the right border, and the limit as a line. The left columns of the box
// are the scale in W.
void drawHistory(Canvas& canvas, const Box& box, const ConsumptionHistory& history, bool unicode);

// Green, yellow from 90 % of the limit on, red above it.
Colour loadColour(std::uint32_t value, std::uint32_t limit);

// How many entries of a history a plot of this width shows.
std::size_t historyColumns(std::size_t columns);
