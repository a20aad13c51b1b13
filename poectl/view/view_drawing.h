// The live view as characters. No terminal is needed.
#pragma once

#include "poectl/view/canvas.h"
#include "poectl/view/view_state.h"

constexpr std::size_t VIEW_ROWS = 24; // what the view needs
constexpr std::size_t VIEW_COLUMNS = 80;

struct ViewFormat {
  std::size_t rows;
  std::size_t columns;
  bool unicode; // bars of block characters, else of ASCII
};

// A smaller screen than the view needs shows its upper left part and says so.
Canvas drawView(const ViewState& state, const ViewFormat& format);

// The highest ViewState::scrolledBack that has an effect.
std::size_t mostScrolledBack(const ViewState& state, const ViewFormat& format);
