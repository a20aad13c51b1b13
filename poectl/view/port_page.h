// The page of one port in the live view.
#pragma once

#include "poectl/view/view_bars.h"
#include "poectl/view/view_state.h"

#include <string>

// Everything that is known of the chosen port: state, settings, measurements, counters, the history of its
// consumption and its last events.
void drawPortPage(Canvas& canvas, const Box& box, const ViewState& state, bool unicode);

// "port 1 (door)"
std::string portTitle(const ViewState& state);
