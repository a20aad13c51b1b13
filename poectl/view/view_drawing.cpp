#include "poectl/view/view_drawing.h"

#include "poectl/status/status_text.h"
#include "poectl/view/view_bars.h"
#include "text/text.h"

#include <algorithm>

namespace {

// Rows from above; the plot, the events and the two lines at the bottom share the rest.
constexpr std::size_t CHIP_ROW = 0;
constexpr std::size_t BUDGET_ROW = 1;
constexpr std::size_t HEADING_ROW = 2;
constexpr std::size_t PORT_ROW = 3;
constexpr std::size_t CHOSEN_ROW = PORT_ROW + POE_PORTS;
constexpr std::size_t PLOT_HEADING_ROW = CHOSEN_ROW + 1;
constexpr std::size_t PLOT_ROW = PLOT_HEADING_ROW + 1;
constexpr std::size_t PLOT_ROWS = 6; // at VIEW_ROWS; grows with half of what is more
constexpr std::size_t MAX_PLOT_ROWS = 14;
constexpr std::size_t BOTTOM_ROWS = 2;

// Columns of a port's row.
constexpr std::size_t STATE_COLUMN = 3;
constexpr std::size_t CLASS_COLUMN = 20;
constexpr std::size_t POWER_COLUMN = 22;
constexpr std::size_t BAR_COLUMN = 31;
constexpr std::size_t COUNTER_COLUMNS = 5;
constexpr std::size_t COUNTERS_COLUMNS = COUNTER_COLUMNS * STATUS_COUNTERS;

constexpr std::size_t BUDGET_COLUMN = 7;
constexpr std::size_t BUDGET_TEXT_COLUMNS = 20;

constexpr Style PLAIN{};
constexpr Style BOLD{Colour::DEFAULT, true, false, false};
constexpr Style FAINT{Colour::DEFAULT, false, true, false};
constexpr Style ALARM{Colour::RED, true, false, true};
constexpr Style CHANGED{Colour::YELLOW, true, false, false};

Style stateStyle(std::uint32_t operStatus) {
  switch (operStatus) {
  case OperStatus::DELIVERINGPOWER:
    return {Colour::GREEN};
  case OperStatus::SEARCHING:
    return {Colour::YELLOW};
  case OperStatus::FAULT:
  case OperStatus::OTHERFAULT:
    return {Colour::RED, true};
  default:
    return FAINT;
  }
}

Style eventStyle(const StatusEvent& event) {
  switch (event.kind) {
  case EventKind::STATE:
    return stateStyle(event.to);
  case EventKind::COUNTER:
    return {Colour::YELLOW};
  case EventKind::CHIP_RECOVERED:
  case EventKind::THERMAL_SHUTDOWN_OVER:
  case EventKind::BUS_ERROR_OVER:
  case EventKind::RESUMED:
    return {Colour::GREEN};
  default:
    return {Colour::RED, true};
  }
}

// At most four characters: 9999, 10k, 4G.
std::string shortNumber(std::uint32_t number) {
  constexpr std::uint32_t LONGEST = 9999;
  constexpr const char* UNITS[] = {"", "k", "M", "G"};
  unsigned unit = 0;
  for (std::uint32_t limit = LONGEST; number > limit; limit = 999) {
    number /= 1000;
    unit++;
  }
  return std::to_string(number) + UNITS[unit];
}

std::size_t plotRows(std::size_t rows) {
  return std::min(PLOT_ROWS + (rows - VIEW_ROWS) / 2, MAX_PLOT_ROWS);
}

std::size_t eventRows(std::size_t rows) {
  return rows - PLOT_ROW - plotRows(rows) - 1 - BOTTOM_ROWS;
}

std::size_t hiddenEvents(const ViewState& state, std::size_t rows) {
  return state.events.size() - std::min(state.events.size(), eventRows(rows));
}

class View {
public:
  View(const ViewState& state, std::size_t rows, std::size_t columns, bool unicode)
      : m_state(state), m_unicode(unicode), m_canvas(rows, columns) {}

  Canvas draw() {
    drawChip();
    drawBudget();
    drawPorts();
    drawChosenPort();
    drawPlot();
    drawEvents();
    drawBottom();
    if (m_state.help) {
      drawHelp();
    }
    return m_canvas;
  }

private:
  // A line with a text in it.
  void drawHeading(std::size_t row, const std::string& text) {
    for (std::size_t column = 0; column < m_canvas.columns(); column++) {
      m_canvas.put(row, column, m_unicode ? U'─' : U'-', FAINT);
    }
    m_canvas.text(row, 2, " " + text + " ", BOLD);
  }

  void drawChip() {
    if (!m_state.status) {
      m_canvas.text(CHIP_ROW, 0,
                    m_state.replay ? "the record is empty" : "waiting for the service's first status message",
                    CHANGED);
      return;
    }
    const PoeStatus& status = *m_state.status;
    const bool isWell = status.mainOperStatus == MainOperStatus::RUNNING && status.devError == 0 &&
                        status.thermalShutdown == 0;
    m_canvas.text(CHIP_ROW, 0,
                  text::formatted("chip %s%s%s, %d C", mainOperStatusWord(status.mainOperStatus),
                                  status.devError != 0 ? ", BUS ERROR" : "",
                                  status.thermalShutdown != 0 ? ", THERMAL SHUTDOWN" : "",
                                  status.deviceTemperature),
                  isWell ? BOLD : Style{Colour::RED, true});
    const std::string age = secondsText(m_state.age);
    if (m_state.replay) {
      drawRecordTime();
      return;
    }
    m_canvas.textAtRight(CHIP_ROW,
                         m_state.isStale()
                             ? " STALE: no message for " + age
                             : text::formatted(" message %lu, age %s", m_state.messages, age.c_str()),
                         m_state.isStale() ? ALARM : PLAIN);
  }

  void drawRecordTime() {
    const ReplayPosition& position = *m_state.replay;
    const std::string number = std::to_string(position.record);
    m_canvas.textAtRight(CHIP_ROW,
                         text::formatted(" record %s, %s %s UTC", number.c_str(),
                                         position.time.substr(0, 10).c_str(),
                                         position.time.substr(11, 8).c_str()),
                         m_state.isStale() ? ALARM : PLAIN);
  }

  void drawBudget() {
    m_canvas.text(BUDGET_ROW, 0, "budget", BOLD);
    if (!m_state.status) {
      return;
    }
    const PoeStatus& status = *m_state.status;
    std::array<std::uint32_t, POE_PORTS> shares{};
    for (unsigned port = 0; port < POE_PORTS; port++) {
      shares[port] = status.port[port].powerConsumption;
    }
    const Box box{BUDGET_ROW, BUDGET_COLUMN, 1, m_canvas.columns() - BUDGET_COLUMN - BUDGET_TEXT_COLUMNS};
    drawShares(m_canvas, box, shares, status.mainPower, m_unicode);
    const bool isOver = status.mainConsumption > status.mainPower;
    m_canvas.textAtRight(
        BUDGET_ROW,
        text::formatted("%u of %u W%s", status.mainConsumption, status.mainPower, isOver ? " OVER" : ""),
        {loadColour(status.mainConsumption, status.mainPower), isOver});
  }

  std::size_t countersColumn() const { return m_canvas.columns() - COUNTERS_COLUMNS; }

  void drawPorts() {
    m_canvas.text(HEADING_ROW, 0, "port state       class  W/limit", FAINT);
    for (unsigned counter = 0; counter < STATUS_COUNTERS; counter++) {
      m_canvas.text(HEADING_ROW, countersColumn() + counter * COUNTER_COLUMNS + 1,
                    STATUS_COUNTER[counter].label, FAINT);
    }
    for (unsigned port = 0; port < POE_PORTS; port++) {
      const std::size_t row = PORT_ROW + port;
      m_canvas.text(row, 0, text::formatted("%c%u", port == m_state.port ? '>' : ' ', port),
                    port == m_state.port ? BOLD : PLAIN);
      if (m_state.status) {
        drawPort(row, port, m_state.status->port[port]);
      }
    }
  }

  void drawPort(std::size_t row, unsigned port, const PoePortStatus& status) {
    const auto& settings = m_state.settings[port];
    const std::uint32_t limit = settings ? settings->limit : MAX_PORT_LIMIT_W;
    m_canvas.text(row, STATE_COLUMN, operStatusWord(status.operStatus),
                  m_state.isStale() ? FAINT : stateStyle(status.operStatus));
    m_canvas.text(row, CLASS_COLUMN, shortClassWord(status.powerClassification));
    m_canvas.text(
        row, POWER_COLUMN,
        text::formatted("%4u/%-3s", status.powerConsumption, settings ? std::to_string(limit).c_str() : "?"));
    drawBar(m_canvas, {row, BAR_COLUMN, 1, countersColumn() - BAR_COLUMN - 1}, status.powerConsumption, limit,
            {loadColour(status.powerConsumption, limit)}, m_unicode);
    for (unsigned counter = 0; counter < STATUS_COUNTERS; counter++) {
      const bool changed = m_state.changedLately(port, counter);
      const std::string number = shortNumber(status.*STATUS_COUNTER[counter].member);
      m_canvas.text(row, countersColumn() + counter * COUNTER_COLUMNS,
                    text::formatted("%4s%c", number.c_str(), changed ? '*' : ' '), changed ? CHANGED : PLAIN);
    }
  }

  void drawChosenPort() {
    std::string text = "port " + std::to_string(m_state.port) + ": ";
    if (m_state.status) {
      text += std::string(detectionWord(m_state.status->port[m_state.port].detectionStatus)) + ", ";
    }
    if (const auto& settings = m_state.settings[m_state.port]) {
      text += settings->enabled ? "priority " + std::to_string(settings->priority) : "switched off";
    } else {
      text += m_state.replay ? "limit not known" : "limit not known (r reads it over the bus)";
    }
    if (const std::string& faults = m_state.faults[m_state.port]; !faults.empty()) {
      text += ", " + faults;
    }
    if (m_state.card) {
      text += "; " + m_state.card->port[m_state.port].device;
    }
    m_canvas.text(CHOSEN_ROW, 0, text);
  }

  void drawPlot() {
    drawHeading(PLOT_HEADING_ROW,
                text::formatted("consumption (W) in the last %zu messages, and the bank's limit",
                                std::min(m_state.history.size(), historyColumns(m_canvas.columns()))));
    drawHistory(m_canvas, {PLOT_ROW, 0, plotRows(m_canvas.rows()), m_canvas.columns()}, m_state.history,
                m_unicode);
  }

  void drawEvents() {
    const std::size_t heading = PLOT_ROW + plotRows(m_canvas.rows());
    const std::size_t rows = eventRows(m_canvas.rows());
    const std::size_t hidden = hiddenEvents(m_state, m_canvas.rows());
    const std::size_t back = std::min(m_state.scrolledBack, hidden);
    drawHeading(heading, back == 0 ? "events" : text::formatted("events, %zu newer ones below", back));
    const std::size_t first = hidden - back;
    for (std::size_t row = 0; row < rows && first + row < m_state.events.size(); row++) {
      const LoggedEvent& entry = m_state.events[first + row];
      m_canvas.text(heading + 1 + row, 0, entry.time, FAINT);
      m_canvas.text(heading + 1 + row, entry.time.size() + 1, eventText(entry.event),
                    eventStyle(entry.event));
    }
  }

  void drawBottom() {
    const std::size_t row = m_canvas.rows() - BOTTOM_ROWS;
    if (m_state.prompt) {
      m_canvas.text(row, 0, "card: " + *m_state.prompt + "_", BOLD);
    } else {
      m_canvas.text(row, 0, m_state.replay ? replayText() : m_state.note, BOLD);
    }
    m_canvas.text(row + 1, 0, keyLine(), FAINT);
  }

  const char* keyLine() const {
    if (m_state.replay) {
      return "q quit  0-3 port  space pause  , . record  left right 10 s  + - speed  ? all";
    }
    return m_state.card ? "q quit  0-3 port  p plug  u unplug  + - draw  s short  t thermal  ? all keys"
                        : "q quit  0-3 port  ? all keys     no simulated card to plug devices into";
  }

  std::string replayText() const {
    if (!m_state.note.empty()) {
      return m_state.note;
    }
    const ReplayPosition& position = *m_state.replay;
    return text::formatted("%s, speed %gx, %u %% of the file",
                           position.isAtEnd    ? "end of the record"
                           : position.isPaused ? "paused"
                                               : "playing",
                           position.speed, position.percent);
  }

  void drawHelp();

  const ViewState& m_state;
  const bool m_unicode;
  Canvas m_canvas;
};

constexpr const char* HELP[] = {
    "0 to 3, up, down  choose a port",
    "PgUp, PgDn        scroll the events",
    "e                 send the example configuration",
    "r                 read the port's limit and priority from the chip:",
    "                  10 transfers on the bus that the view spares else",
    "? or Esc          close this list",
    "q or Ctrl-C       quit",
    "",
    "on the simulated card:",
    "p                 plug the next kind of device into the port",
    "u                 unplug the device",
    "+ and -           let it draw 1 W more or less",
    "s                 short-circuit the port",
    "f, o and n        FET fault, overtemperature, no fault",
    "t                 thermal shutdown of the chip on or off",
    "b                 bus dead or ok",
    "c                 power cycle of the chip",
    ":                 any command of the card, as 'help' lists them",
};

constexpr const char* REPLAY_HELP[] = {
    "0 to 3, up, down  choose a port",
    "PgUp, PgDn        scroll the events",
    "? or Esc          close this list",
    "q or Ctrl-C       quit",
    "",
    "space             pause, go on",
    "left, right       10 s back, forward",
    "< and >           10 min back, forward",
    ", and .           pause at the record before, at the next record",
    "Home, End         the first, the last record",
    "+ and -           double, halve the speed",
    "",
    "A step back goes at most 2000 records back. Of a silence of more",
    "than 60 s, the last 60 s are played.",
};

// Covers the middle of the view.
void View::drawHelp() {
  constexpr std::size_t TOP = 3;
  constexpr std::size_t LEFT = 7;
  std::size_t row = TOP;
  const auto line = [&](const char* text) {
    m_canvas.text(row++, LEFT, text::formatted("  %-64s", text), {Colour::DEFAULT, false, false, true});
  };
  line("");
  if (m_state.replay) {
    std::for_each(std::begin(REPLAY_HELP), std::end(REPLAY_HELP), line);
  } else {
    std::for_each(std::begin(HELP), std::end(HELP), line);
  }
  line("");
}

// The upper left part of a canvas, with a note in the last row.
Canvas cropped(const Canvas& whole, const ViewFormat& format) {
  Canvas part(format.rows, format.columns);
  for (std::size_t row = 0; row < part.rows(); row++) {
    for (std::size_t column = 0; column < part.columns(); column++) {
      const Cell& cell = whole.at(row, column);
      part.put(row, column, cell.character, cell.style);
    }
  }
  if (part.rows() > 0) {
    part.clearRow(part.rows() - 1, ALARM);
    part.text(part.rows() - 1, 0,
              std::to_string(VIEW_COLUMNS) + "x" + std::to_string(VIEW_ROWS) + " needed, this is " +
                  std::to_string(format.columns) + "x" + std::to_string(format.rows),
              ALARM);
  }
  return part;
}

} // namespace

Canvas drawView(const ViewState& state, const ViewFormat& format) {
  const std::size_t rows = std::max(format.rows, VIEW_ROWS);
  const std::size_t columns = std::max(format.columns, VIEW_COLUMNS);
  const Canvas whole = View(state, rows, columns, format.unicode).draw();
  return rows == format.rows && columns == format.columns ? whole : cropped(whole, format);
}

std::size_t mostScrolledBack(const ViewState& state, const ViewFormat& format) {
  return hiddenEvents(state, std::max(format.rows, VIEW_ROWS));
}
