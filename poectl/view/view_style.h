// Colours and headings that all parts of the live view share.
#pragma once

#include "poectl/status/status_events.h"
#include "poectl/view/canvas.h"

#include <string>

constexpr Style PLAIN{};
constexpr Style BOLD{Colour::DEFAULT, true, false, false};
constexpr Style FAINT{Colour::DEFAULT, false, true, false};
constexpr Style ALARM{Colour::RED, true, false, true};
constexpr Style CHANGED{Colour::YELLOW, true, false, false};

Style stateStyle(std::uint32_t operStatus);
Style eventStyle(const StatusEvent& event);

// A line with a text in it, and with another one at its right end unless that is empty.
void drawHeading(Canvas& canvas, std::size_t row, const std::string& text, const std::string& right,
                 bool unicode);
