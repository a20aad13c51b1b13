#include "poectl/record/plot_script.h"

#include "poectl/status/status_text.h"
#include "poectl/status/timestamp.h"
#include "text/text.h"

#include <algorithm>

namespace {

constexpr unsigned CHIP_LANE = POE_PORTS; // above those of the ports
constexpr std::size_t MAX_LABELS = 60;    // more would hide each other

// Colours that differ in brightness, too; the patterns and widths serve who prints without colours.
struct StateLook {
  std::uint32_t operStatus;
  const char* fill;
  const char* height; // of half a bar
};

constexpr StateLook STATE_LOOKS[] = {
    {OperStatus::DISABLED, "linecolor rgb '#b0b0b0' fillstyle solid 1 noborder", "0.06"},
    {OperStatus::SEARCHING, "linecolor rgb '#e69f00' fillstyle solid 1 noborder", "0.16"},
    {OperStatus::DELIVERINGPOWER, "linecolor rgb '#009e73' fillstyle solid 1 noborder", "0.34"},
    {OperStatus::FAULT, "linecolor rgb '#c00000' fillstyle pattern 2 border", "0.34"},
    {OperStatus::TEST, "linecolor rgb '#0072b2' fillstyle pattern 1 border", "0.34"},
    {OperStatus::OTHERFAULT, "linecolor rgb '#7b0099' fillstyle pattern 5 border", "0.34"},
};

constexpr const char* PORT_LINES[POE_PORTS] = {
    "linewidth 2 dashtype 1 linecolor rgb '#0072b2'",
    "linewidth 2 dashtype 2 linecolor rgb '#d55e00'",
    "linewidth 2 dashtype 4 linecolor rgb '#009e73'",
    "linewidth 2 dashtype 3 linecolor rgb '#cc79a7'",
};

// A text as a word of gnuplot's language. Within single quotes gnuplot replaces nothing, and the only special
// character is the quote itself. What XML cannot have becomes '?'.
std::string quotedForGnuplot(const std::string& text) {
  std::string word = "'";
  for (std::size_t i = 0; i < text.size(); i++) {
    const char character = text[i];
    const bool isControl = static_cast<unsigned char>(character) < ' ' || character == '\x7F';
    const bool isNoCharacter =
        text.compare(i, 3, "\xEF\xBF\xBE") == 0 || text.compare(i, 3, "\xEF\xBF\xBF") == 0;
    word += character == '\'' ? "''" : isControl || isNoCharacter ? "?" : std::string(1, character);
    i += isNoCharacter ? 2 : 0;
  }
  return word + "'";
}

// A name of the file system, which may have any bytes.
std::string asciiOnly(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return text;
}

std::string secondsOf(Snapshot::Time time) {
  const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
  return text::formatted("%lld.%03lld", static_cast<long long>(whole / 1000),
                         static_cast<long long>(whole % 1000));
}

std::string valueOrNone(const std::optional<std::uint32_t>& value) {
  return value ? std::to_string(*value) : "NaN";
}

// At most this many characters of UTF-8, so that the legend has place for it.
std::string shortened(const std::string& name) {
  constexpr std::size_t MAX_CHARACTERS = 16;
  std::size_t characters = 0;
  for (std::size_t i = 0; i < name.size(); i++) {
    const bool isFirstByte = (static_cast<unsigned char>(name[i]) & 0xC0) != 0x80;
    if (isFirstByte && characters++ == MAX_CHARACTERS) {
      return name.substr(0, i) + "...";
    }
  }
  return name;
}

std::string portTitle(const PlotData& data, unsigned port) {
  const std::string& name = data.names()[port];
  return quotedForGnuplot("port " + std::to_string(port) + (name.empty() ? "" : " " + shortened(name)));
}

std::string block(const std::string& name, const std::string& lines) {
  return "$" + name + " << EOD\n" + lines + "EOD\n";
}

std::string pointLines(const PlotData& data) {
  std::string lines;
  for (const PlotData::Point& point : data.points()) {
    lines += point.afterSilence ? "\n" : ""; // the curve is interrupted
    lines += secondsOf(point.time) + " " + valueOrNone(point.total) + " " + valueOrNone(point.limit);
    for (const auto& consumption : point.consumption) {
      lines += " " + valueOrNone(consumption);
    }
    lines += "\n";
  }
  return lines;
}

std::string stateLines(const PlotData& data, std::uint32_t operStatus) {
  std::string lines;
  for (const PlotData::State& state : data.states()) {
    if (state.operStatus == operStatus) {
      lines += secondsOf(state.from) + " " + secondsOf(state.to) + " " + std::to_string(state.port) + "\n";
    }
  }
  return lines;
}

unsigned laneOf(const StatusEvent& event) {
  return event.kind == EventKind::COUNTER ? event.port : CHIP_LANE;
}

std::string labelOf(const StatusEvent& event) {
  switch (event.kind) {
  case EventKind::COUNTER:
    return STATUS_COUNTER[event.counter].label;
  case EventKind::STALE:
    return "STALE";
  case EventKind::RESUMED:
    return "resumed";
  case EventKind::SERVICE_RESTARTED:
    return "restart";
  default:
    return eventText(event);
  }
}

std::string eventLines(const PlotData& data) {
  std::string lines;
  for (std::size_t i = 0; i < data.events().size(); i++) {
    const RecordedEvent& event = data.events()[i];
    lines += secondsOf(event.time) + " " + std::to_string(laneOf(event.event)) + " \"" +
             (i < MAX_LABELS ? labelOf(event.event) : "") + "\"\n";
  }
  return lines;
}

std::string head(const PlotData& data, const std::string& title) {
  const auto span = data.end() - data.begin();
  const auto last = std::max(data.end(), data.begin() + std::chrono::seconds(1));
  const bool isLong = span > std::chrono::hours(24);
  const std::uint64_t leftOut = data.eventsLeftOut() + data.statesLeftOut();
  const std::string note =
      leftOut == 0 ? "" : "; " + std::to_string(leftOut) + " later states and events are left out";
  return "set encoding utf8\n"
         "set terminal svg noenhanced size 1000,900 font 'sans,13' background rgb 'white'\n"
         "set multiplot layout 3,1 title " +
         quotedForGnuplot(asciiOnly(title) + ": " + std::to_string(data.records()) + " records, " +
                          isoTime(data.begin()) + " to " + isoTime(data.end()) + note) +
         "\n"
         "set lmargin 10\nset rmargin 30\nset key at graph 1.02, graph 1 left top Left reverse\nset grid "
         "xtics\n"
         "set xrange [" +
         secondsOf(data.begin()) + ":" + secondsOf(last) +
         "]\n"
         "set xtics time format '" +
         (isLong ? "%m-%d %H:%M" : "%H:%M:%S") + "'\n";
}

std::string consumptionPanel(const PlotData& data) {
  std::string plot =
      "set yrange [0:*]\nset ylabel 'consumption (W)'\nset grid ytics\n"
      "plot $POINTS using 1:3 with steps linewidth 1 dashtype 5 linecolor rgb '#000000' title 'bank limit', "
      "$POINTS using 1:2 with steps linewidth 3 linecolor rgb '#808080' title 'all ports'";
  for (unsigned port = 0; port < POE_PORTS; port++) {
    plot += ", $POINTS using 1:" + std::to_string(4 + port) + " with steps " + PORT_LINES[port] + " title " +
            portTitle(data, port);
  }
  return plot + "\n";
}

std::string laneTics() {
  std::string tics;
  for (unsigned port = 0; port < POE_PORTS; port++) {
    tics += text::formatted("%s'port %u' %u", tics.empty() ? "" : ", ", port, port);
  }
  return "unset grid\nset grid xtics\nset ytics (" + tics + ", 'chip' " + std::to_string(CHIP_LANE) + ")\n";
}

// The blocks of the states that occur, and the panel.
std::string statePanel(const PlotData& data) {
  std::string blocks;
  std::string curves;
  for (const StateLook& look : STATE_LOOKS) {
    const std::string lines = stateLines(data, look.operStatus);
    if (!lines.empty()) {
      const std::string name = "STATE" + std::to_string(look.operStatus);
      blocks += block(name, lines);
      curves += std::string(curves.empty() ? "" : ", ") + "$" + name + " using (($1+$2)/2):3:1:2:($3-" +
                look.height + "):($3+" + look.height + ") with boxxyerror " + look.fill + " title '" +
                operStatusWord(look.operStatus) + "'";
    }
  }
  const std::string range = "set ylabel 'state'\nset yrange [" + std::to_string(POE_PORTS) + "-0.5:-0.5]\n";
  return blocks + range + "plot " + (curves.empty() ? "NaN title 'no state is known'" : curves) + "\n";
}

std::string eventPanel(const PlotData& data) {
  const std::string lines = eventLines(data);
  std::string legend;
  for (const StatusField& counter : STATUS_COUNTER) {
    legend += std::string(", NaN with points pointtype 2 linecolor rgb '#000000' title '") + counter.label +
              ": " + counter.heading + "'";
  }
  return block("EVENTS", lines) + "set ylabel 'event'\nset xlabel 'time (UTC)'\nset yrange [" +
         std::to_string(CHIP_LANE) + "+0.7:-0.7]\nplot " +
         (lines.empty()
              ? "NaN title 'no events'"
              : "$EVENTS using 1:2 with points pointtype 2 pointsize 0.8 linecolor rgb '#c00000' notitle, "
                "$EVENTS using 1:2:3 with labels rotate by 45 left offset 0,0.4 font 'sans,10' notitle" +
                    legend) +
         "\n";
}

} // namespace

std::string plotScript(const PlotData& data, const std::string& title) {
  return head(data, title) + block("POINTS", pointLines(data)) + consumptionPanel(data) + laneTics() +
         statePanel(data) + eventPanel(data) + "unset multiplot\n";
}
