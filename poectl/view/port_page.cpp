#include "poectl/view/port_page.h"

#include "poectl/status/status_text.h"
#include "poectl/view/view_style.h"
#include "text/text.h"

#include <algorithm>
#include <vector>

namespace {

constexpr std::size_t PLOT_ROWS = 3;
constexpr std::size_t COUNTERS_A_ROW = 3;

std::string stateLine(const Snapshot& snapshot, unsigned port) {
  const PoePortStatus& status = snapshot.status.port[port];
  return "state       " + stateText(snapshot, port) + ", class " + classWord(status.powerClassification) +
         ", detection " + detectionWord(status.detectionStatus);
}

std::string settingsLine(const ViewState& state) {
  const PortDetails& settings = state.settings[state.port];
  std::string line = "configured  ";
  if (!settings.enabled) {
    return line + (state.replay ? "not known" : "not known (r reads it over the bus)");
  }
  line += *settings.enabled ? "on" : "off";
  return line + ", limit " + knownText(settings.limitW) + " W, priority " + knownText(settings.priority);
}

std::string measuredLine(const ViewState& state) {
  const Snapshot& snapshot = *state.snapshot;
  const PortDetails& details = snapshot.details[state.port];
  std::string line = "measured    " + knownNumber(snapshot, *portField("powerConsumption"), state.port) +
                     " W, " + voltageText(details.voltageDv) + " V, " + knownText(details.currentMa) + " mA";
  if (details.powered) {
    line += *details.powered ? "; power on" : "; power off";
  }
  const std::string& faults = state.faults[state.port];
  return faults.empty() ? line : line + "; " + faults;
}

std::string countersLine(const Snapshot& snapshot, unsigned port, std::size_t first) {
  std::string line = first == 0 ? "counters    " : "            ";
  for (std::size_t counter = first; counter < first + COUNTERS_A_ROW; counter++) {
    line += (counter == first ? "" : ", ") + std::string(STATUS_COUNTER[counter].heading) + " " +
            knownNumber(snapshot, STATUS_COUNTER[counter], port);
  }
  return line;
}

std::vector<std::string> linesOf(const ViewState& state) {
  std::vector<std::string> lines;
  if (state.snapshot) {
    lines = {stateLine(*state.snapshot, state.port), settingsLine(state), measuredLine(state),
             countersLine(*state.snapshot, state.port, 0),
             countersLine(*state.snapshot, state.port, COUNTERS_A_ROW)};
  }
  if (state.card) {
    lines.push_back("plugged in  " + state.card->port[state.port].device);
  }
  return lines;
}

std::vector<LoggedEvent> eventsOf(const ViewState& state) {
  std::vector<LoggedEvent> events;
  std::copy_if(state.events.begin(), state.events.end(), std::back_inserter(events),
               [&](const LoggedEvent& entry) {
                 return (entry.event.kind == EventKind::STATE || entry.event.kind == EventKind::COUNTER) &&
                        entry.event.port == state.port;
               });
  return events;
}

} // namespace

void drawPortPage(Canvas& canvas, const Box& box, const ViewState& state, bool unicode) {
  std::size_t row = box.row;
  drawHeading(canvas, row++, portTitle(state), "", unicode);
  for (const std::string& line : linesOf(state)) {
    canvas.text(row++, 0, line);
  }
  const ConsumptionHistory& history = state.portHistory[state.port];
  drawHeading(canvas, row++, "consumption (W) of the port, and its limit", "", unicode);
  drawHistory(canvas, {row, box.column, PLOT_ROWS, box.columns}, history, unicode);
  row += PLOT_ROWS;
  drawHeading(canvas, row++, "events of the port", state.origin, unicode);
  const std::vector<LoggedEvent> events = eventsOf(state);
  const std::size_t rows = box.row + box.rows - row;
  for (std::size_t index = events.size() - std::min(events.size(), rows); index < events.size(); index++) {
    canvas.text(row, 0, events[index].time, FAINT);
    canvas.text(row++, events[index].time.size() + 1,
                eventText(events[index].event, state.source, state.names()), eventStyle(events[index].event));
  }
}

std::string portTitle(const ViewState& state) {
  return portLabel(state.port, state.names());
}
