#include "poectl/view/view_drawing.h"

#include "poectl/status/status_text.h"
#include "poectl/view/port_page.h"
#include "poectl/view/view_bars.h"
#include "poectl/view/view_style.h"
#include "text/text.h"

#include <algorithm>

namespace {

// Rows from above; the plot, the events and the two lines at the bottom share the rest.
constexpr std::size_t CHIP_ROW = 0;
constexpr std::size_t BUDGET_ROW = 1;
constexpr std::size_t HEADING_ROW = 2;
constexpr std::size_t PORT_ROW = 3;
constexpr std::size_t CHOSEN_ROW = PORT_ROW + POE_PORTS;
constexpr std::size_t PAGE_ROW = CHOSEN_ROW; // the page of a port takes all from here
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
constexpr std::size_t MEASURED_COLUMNS = 10; // voltage and current, before the bar
constexpr std::size_t COUNTER_COLUMNS = 5;
constexpr std::size_t COUNTERS_COLUMNS = COUNTER_COLUMNS * STATUS_COUNTERS;

constexpr std::size_t BUDGET_COLUMN = 7;
constexpr std::size_t BUDGET_TEXT_COLUMNS = 20;

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
    if (m_state.portPage) {
      const std::size_t end = m_canvas.rows() - BOTTOM_ROWS;
      drawPortPage(m_canvas, {PAGE_ROW, 0, end - PAGE_ROW, m_canvas.columns()}, m_state, m_unicode);
    } else {
      drawChosenPort();
      drawPlot();
      drawEvents();
    }
    drawBottom();
    if (m_state.help) {
      drawHelp();
    }
    return m_canvas;
  }

private:
  void drawChip() {
    const bool isFromQueue = m_state.source == Snapshot::Source::QUEUE;
    if (!m_state.snapshot) {
      m_canvas.text(CHIP_ROW, 0,
                    m_state.replay ? "the record is empty"
                    : isFromQueue  ? "waiting for the service's first status message"
                                   : "waiting for the first snapshot from the console",
                    CHANGED);
      return;
    }
    const PoeStatus& status = m_state.snapshot->status;
    const bool isKnown = m_state.snapshot->knows(*chipField("mainOperStatus"));
    const bool isWell = (!isKnown || status.mainOperStatus == MainOperStatus::RUNNING) &&
                        status.devError == 0 && status.thermalShutdown == 0;
    m_canvas.text(
        CHIP_ROW, 0,
        text::formatted("chip %s%s%s, %d C", isKnown ? mainOperStatusWord(status.mainOperStatus) : "-",
                        status.devError != 0 ? ", BUS ERROR" : "",
                        status.thermalShutdown != 0 ? ", THERMAL SHUTDOWN" : "", status.deviceTemperature),
        isWell ? BOLD : Style{Colour::RED, true});
    const std::string age = secondsText(m_state.age);
    if (m_state.replay) {
      drawRecordTime();
      return;
    }
    const char* const what = isFromQueue ? "message" : "snapshot";
    m_canvas.textAtRight(CHIP_ROW,
                         m_state.isStale()
                             ? text::formatted(" STALE: no %s for %s", what, age.c_str())
                             : text::formatted(" %s %lu, age %s", what, m_state.number(), age.c_str()),
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
    if (!m_state.snapshot) {
      return;
    }
    if (!m_state.snapshot->knows(*chipField("mainPower"))) {
      m_canvas.text(BUDGET_ROW, BUDGET_COLUMN, "needs transfers");
      return;
    }
    const PoeStatus& status = m_state.snapshot->status;
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
    if (isMeasured()) {
      m_canvas.text(HEADING_ROW, BAR_COLUMN + 2, " V   mA", FAINT);
    }
    for (unsigned counter = 0; counter < STATUS_COUNTERS; counter++) {
      m_canvas.text(HEADING_ROW, countersColumn() + counter * COUNTER_COLUMNS + 1,
                    STATUS_COUNTER[counter].label, FAINT);
    }
    for (unsigned port = 0; port < POE_PORTS; port++) {
      const std::size_t row = PORT_ROW + port;
      m_canvas.text(row, 0, text::formatted("%c%u", port == m_state.port ? '>' : ' ', port),
                    port == m_state.port ? BOLD : PLAIN);
      if (m_state.snapshot) {
        drawPort(row, port, *m_state.snapshot);
      }
    }
  }

  // Voltages and currents take their place from the bars.
  bool isMeasured() const {
    return m_state.snapshot && m_state.snapshot->source == Snapshot::Source::CONSOLE;
  }

  void drawPort(std::size_t row, unsigned port, const Snapshot& snapshot) {
    const PoePortStatus& status = snapshot.status.port[port];
    m_canvas.text(row, STATE_COLUMN, stateText(snapshot, port),
                  m_state.isStale() ? FAINT : stateStyle(status.operStatus));
    m_canvas.text(row, CLASS_COLUMN, shortClassWord(status.powerClassification));
    drawPower(row, port, snapshot);
    for (unsigned counter = 0; counter < STATUS_COUNTERS; counter++) {
      const bool changed = m_state.changedLately(port, counter);
      const std::string number =
          snapshot.knows(STATUS_COUNTER[counter]) ? shortNumber(status.*STATUS_COUNTER[counter].member) : "-";
      m_canvas.text(row, countersColumn() + counter * COUNTER_COLUMNS,
                    text::formatted("%4s%c", number.c_str(), changed ? '*' : ' '), changed ? CHANGED : PLAIN);
    }
  }

  void drawPower(std::size_t row, unsigned port, const Snapshot& snapshot) {
    const std::optional<std::uint32_t>& setLimit = m_state.settings[port].limitW;
    const std::uint32_t limit = setLimit.value_or(MAX_PORT_LIMIT_W);
    const std::string watts = knownNumber(snapshot, *portField("powerConsumption"), port);
    m_canvas.text(row, POWER_COLUMN,
                  text::formatted("%4s/%-3s", watts.c_str(), setLimit ? std::to_string(limit).c_str() : "?"));
    std::size_t column = BAR_COLUMN;
    if (isMeasured()) {
      const PortDetails& details = snapshot.details[port];
      m_canvas.text(row, column,
                    text::formatted("%4s %4s", voltageText(details.voltageDv).c_str(),
                                    knownText(details.currentMa).c_str()));
      column += MEASURED_COLUMNS;
    }
    const std::uint32_t consumption = snapshot.status.port[port].powerConsumption;
    drawBar(m_canvas, {row, column, 1, countersColumn() - column - 1}, consumption, limit,
            {loadColour(consumption, limit)}, m_unicode);
  }

  void drawChosenPort() {
    std::string text = portTitle(m_state) + ": ";
    if (m_state.snapshot) {
      text += std::string(detectionWord(m_state.snapshot->status.port[m_state.port].detectionStatus)) + ", ";
    }
    const PortDetails& settings = m_state.settings[m_state.port];
    if (settings.enabled == false) {
      text += "switched off";
    } else if (settings.priority) {
      text += "priority " + std::to_string(*settings.priority);
    } else {
      text += invitesToRead() ? "limit not known (r reads it over the bus)" : "limit not known";
    }
    if (const std::string& faults = m_state.faults[m_state.port]; !faults.empty()) {
      text += ", " + faults;
    }
    if (m_state.card) {
      text += "; " + m_state.card->port[m_state.port].device;
    }
    m_canvas.text(CHOSEN_ROW, 0, text);
  }

  // A transfer that fails costs the ports their power.
  bool invitesToRead() const {
    const bool isBusWell = !m_state.snapshot || m_state.snapshot->status.devError == 0;
    return !m_state.replay && m_state.mayUseBus && isBusWell;
  }

  void drawPlot() {
    drawHeading(m_canvas, PLOT_HEADING_ROW,
                text::formatted("consumption (W) in the last %zu %s, and the bank's limit",
                                std::min(m_state.history.size(), historyColumns(m_canvas.columns())),
                                m_state.source == Snapshot::Source::QUEUE ? "messages" : "snapshots"),
                "", m_unicode);
    drawHistory(m_canvas, {PLOT_ROW, 0, plotRows(m_canvas.rows()), m_canvas.columns()}, m_state.history,
                m_unicode);
  }

  void drawEvents() {
    const std::size_t heading = PLOT_ROW + plotRows(m_canvas.rows());
    const std::size_t rows = eventRows(m_canvas.rows());
    const std::size_t hidden = hiddenEvents(m_state, m_canvas.rows());
    const std::size_t back = std::min(m_state.scrolledBack, hidden);
    drawHeading(m_canvas, heading,
                back == 0 ? "events" : text::formatted("events, %zu newer ones below", back), m_state.origin,
                m_unicode);
    const std::size_t first = hidden - back;
    for (std::size_t row = 0; row < rows && first + row < m_state.events.size(); row++) {
      const LoggedEvent& entry = m_state.events[first + row];
      m_canvas.text(heading + 1 + row, 0, entry.time, FAINT);
      m_canvas.text(heading + 1 + row, entry.time.size() + 1,
                    eventText(entry.event, m_state.source, m_state.names()), eventStyle(entry.event));
    }
  }

  void drawBottom() {
    const std::size_t row = m_canvas.rows() - BOTTOM_ROWS;
    if (m_state.prompt) {
      m_canvas.text(row, 0, "card: " + *m_state.prompt + "_", BOLD);
    } else {
      drawNote(row, m_state.replay ? replayText() : m_state.note);
    }
    m_canvas.text(row + 1, 0, keyLine(), FAINT);
  }

  // One that is too long for its row also takes the row above.
  void drawNote(std::size_t row, const std::string& note) {
    std::size_t rest = 0;
    if (note.size() > m_canvas.columns()) {
      const std::size_t blank = note.rfind(' ', m_canvas.columns());
      rest = blank == std::string::npos ? m_canvas.columns() : blank + 1;
      m_canvas.clearRow(row - 1, PLAIN);
      m_canvas.text(row - 1, 0, note.substr(0, rest), BOLD);
    }
    m_canvas.text(row, 0, note.substr(rest), BOLD);
  }

  const char* keyLine() const {
    if (m_state.replay) {
      return "q quit  0-3 port  Enter page  space pause  , . record  + - speed  ? all keys";
    }
    return m_state.card ? "q quit  0-3 port  Enter page  p plug  u unplug  + - draw  s short  ? all keys"
                        : "q quit  0-3 port  Enter page  ? all keys  no simulated card to plug into";
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
    "Enter             show or leave the page of the port",
    "PgUp, PgDn        scroll the events",
    "e                 send the example; not beside a main process",
    "r                 read the port's limit and priority from the chip:",
    "                  costs 10 transfers on the bus",
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
    "Enter             show or leave the page of the port",
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
  constexpr std::size_t TOP = 2;
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
