// The live view as a person sees it: whole screens, and the styles of what stands out.
#include "poectl/view/view_drawing.h"

#include "tests/unit/poectl/view/view_sample.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;

constexpr ViewFormat UNICODE{24, 80, true};
constexpr ViewFormat ASCII{24, 80, false};

std::string screen(const ViewState& state, const ViewFormat& format) {
  const Canvas canvas = drawView(state, format);
  std::string text = "\n";
  for (std::size_t row = 0; row < canvas.rows(); row++) {
    text += canvas.row(row) + "\n";
  }
  return text;
}

std::string rowOf(const ViewState& state, std::size_t row, const ViewFormat& format = ASCII) {
  return drawView(state, format).row(row);
}

Style styleAt(const ViewState& state, std::size_t row, std::size_t column) {
  return drawView(state, UNICODE).at(row, column).style;
}

TEST(LiveView, ShowsChipBudgetPortsHistoryAndEventsIn80By24) {
  EXPECT_EQ(screen(viewSample(), UNICODE), R"(
chip running, 40 C                                        message 123, age 0.4 s
budget 00011111111111·······································         28 of 100 W
port state       class  W/limit                    inv  den  ovl  und  sht  cls
>0 DELIVERINGPOWER  2    6/15  ███████▏··········    0    0    0    0    0    0
 1 DELIVERINGPOWER  4   22/30  █████████████▏····   12 9999  10k 999k   1M   4G
 2 FAULT            -    0/15  ··················    7*   0    0    0    0    0
 3 DISABLED         -    0/15  ··················    0    0    0    0    0    0
port 0: good, priority 1; device=good class=2 watts=6 fault=none
── consumption (W) in the last 16 messages, and the bank's limit ───────────────
 110                                                                       ▃█
                                                                ─────────▂▇██─
                                                                       ▂▆████
                                                                     ▁▅██████
                                                                    ▅████████▄ ▄
   0                                                             ▁▄███████████ █
── events ─────────────────────────────────────────────────────────────── queue
07:08:03 port 2 invalidSignatureCounter +1, now 3
07:08:04 port 2 invalidSignatureCounter +1, now 4
07:08:05 port 2 invalidSignatureCounter +1, now 5
07:08:06 port 2 invalidSignatureCounter +1, now 6
07:08:07 port 2 invalidSignatureCounter +1, now 7
07:08:08 port 2 invalidSignatureCounter +1, now 8
card: plug 0 class=2 watts=6
q quit  0-3 port  Enter page  p plug  u unplug  + - draw  s short  ? all keys
)");
}

TEST(LiveView, SharesALargerScreenBetweenPlotAndEventsAndWidensTheBars) {
  constexpr ViewFormat LARGER{30, 100, true};
  const ViewState state = viewSample();
  EXPECT_EQ(
      rowOf(state, 3, LARGER),
      ">0 DELIVERINGPOWER  2    6/15  ███████████████▏······················    0    0    0    0    0    0");
  EXPECT_EQ(rowOf(state, 9, LARGER), " 110" + std::string(91, ' ') + "▁█");
  EXPECT_EQ(rowOf(state, 17, LARGER).substr(0, 4), "   0");
  EXPECT_EQ(rowOf(state, 19, LARGER), "07:08:01 port 2 invalidSignatureCounter +1, now 1");
  EXPECT_EQ(rowOf(state, 26, LARGER), "07:08:08 port 2 invalidSignatureCounter +1, now 8");
  EXPECT_EQ(rowOf(state, 27, LARGER), "");
}

TEST(LiveView, WaitsForTheFirstMessageWithEmptyRows) {
  EXPECT_EQ(screen(ViewState(), ASCII), R"(
waiting for the service's first status message
budget
port state       class  W/limit                    inv  den  ovl  und  sht  cls
>0
 1
 2
 3
port 0: limit not known (r reads it over the bus)
-- consumption (W) in the last 0 messages, and the bank's limit ----------------
   1




   0
-- events --------------------------------------------------------------- queue







q quit  0-3 port  Enter page  ? all keys  no simulated card to plug into
)");
}

TEST(LiveView, ShowsTheUpperLeftPartOnATooSmallScreenAndSaysSo) {
  EXPECT_EQ(screen(viewSample(), {5, 30, true}), R"(
chip running, 40 C
budget 00011111111111·········
port state       class  W/limi
>0 DELIVERINGPOWER  2    6/15
80x24 needed, this is 30x5
)");
}

TEST(LiveView, CanBeDrawnInAnySize) {
  for (std::size_t rows = 0; rows < 60; rows++) {
    for (const std::size_t columns : {0U, 1U, 2U, 40U, 79U, 80U, 81U, 200U, 1200U}) {
      const Canvas canvas = drawView(viewSample(), {rows, columns, true});
      EXPECT_EQ(canvas.rows(), rows);
      EXPECT_EQ(canvas.columns(), columns);
    }
  }
}

TEST(LiveView, SaysFromTwoAndAHalfSecondsOnThatTheStatusIsStale) {
  ViewState state = viewSample();
  state.age = milliseconds(2499);
  EXPECT_EQ(rowOf(state, 0),
            "chip running, 40 C                                        message 123, age 2.5 s");
  state.age = milliseconds(2500);
  EXPECT_EQ(rowOf(state, 0),
            "chip running, 40 C                                   STALE: no message for 2.5 s");
  EXPECT_EQ(styleAt(state, 0, 79), (Style{Colour::RED, true, false, true}));
  EXPECT_EQ(styleAt(state, 3, 3), (Style{Colour::DEFAULT, false, true, false})) << "an old state is faint";
}

TEST(LiveView, NamesTheTroublesOfTheChip) {
  ViewState state = viewSample();
  state.snapshot->status.mainOperStatus = 3;
  state.snapshot->status.devError = 1;
  state.snapshot->status.thermalShutdown = 1;
  state.snapshot->status.deviceTemperature = -5;
  EXPECT_EQ(rowOf(state, 0),
            "chip UNREACHABLE, BUS ERROR, THERMAL SHUTDOWN, -5 C       message 123, age 0.4 s");
  EXPECT_EQ(styleAt(state, 0, 0), (Style{Colour::RED, true}));
}

TEST(LiveView, ShowsThatTheBudgetIsExceeded) {
  ViewState state = viewSample();
  state.snapshot->status.mainPower = 20;
  EXPECT_EQ(rowOf(state, 1), "budget 00000000000" + std::string(42, '1') + "     28 of 20 W OVER");
}

TEST(LiveView, GivesTheBarOfAnUnknownLimitTheHighestOne) {
  ViewState state = viewSample();
  state.settings = {};
  EXPECT_EQ(rowOf(state, 4),
            " 1 DELIVERINGPOWER  4   22/?   #########---------   12 9999  10k 999k   1M   4G");
  EXPECT_EQ(rowOf(state, 7),
            "port 0: good, limit not known (r reads it over the bus); device=good class=2 wat");
  const std::string noHint = "port 0: good, limit not known; device=good class=2 watts=6 fault=none";
  state.mayUseBus = false;
  EXPECT_EQ(rowOf(state, 7), noHint);
  state.mayUseBus = true;
  state.snapshot->status.devError = 1;
  EXPECT_EQ(rowOf(state, 7), noHint) << "a transfer that fails costs the ports their power";
}

TEST(LiveView, SaysThatThePortIsSwitchedOff) {
  ViewState state = viewSample();
  state.port = 3;
  state.card.reset();
  EXPECT_EQ(rowOf(state, 6),
            ">3 DISABLED         -    0/15  ------------------    0    0    0    0    0    0");
  EXPECT_EQ(rowOf(state, 7), "port 3: unknown, switched off");
}

TEST(LiveView, HasAColourForEachState) {
  const std::pair<std::uint32_t, Style> rows[] = {{1, {Colour::DEFAULT, false, true}},
                                                  {2, {Colour::YELLOW}},
                                                  {3, {Colour::GREEN}},
                                                  {4, {Colour::RED, true}},
                                                  {6, {Colour::RED, true}}};
  ViewState state = viewSample();
  for (const auto& [operStatus, style] : rows) {
    state.snapshot->status.port[0].operStatus = operStatus;
    EXPECT_EQ(styleAt(state, 3, 3), style) << operStatus;
  }
}

TEST(LiveView, ColoursTheBarOfAPortByItsLimitOf30Watts) {
  const std::pair<std::uint32_t, Colour> rows[] = {
      {26, Colour::GREEN}, {27, Colour::YELLOW}, {30, Colour::YELLOW}, {31, Colour::RED}};
  ViewState state = viewSample();
  for (const auto& [watts, colour] : rows) {
    state.snapshot->status.port[1].powerConsumption = watts;
    EXPECT_EQ(styleAt(state, 4, 31).colour, colour) << watts;
  }
}

TEST(LiveView, MarksACounterForFiveMessages) {
  ViewState state = viewSample(); // the change came with message 123
  state.snapshot->number = 127;
  EXPECT_EQ(rowOf(state, 5).substr(50, 6), "   7* ");
  EXPECT_EQ(styleAt(state, 5, 53), (Style{Colour::YELLOW, true}));
  state.snapshot->number = 128;
  EXPECT_EQ(rowOf(state, 5).substr(50, 6), "   7  ");
}

// As the console shows the sample, with details of port 1.
ViewState consoleSample() {
  ViewState state = viewSample();
  state.source = Snapshot::Source::CONSOLE;
  state.origin = "console: 49 transfers a snapshot, each 10 s";
  state.staleAfter = milliseconds(25000);
  state.port = 1;
  state.faults[1] = "hot MOSFET";
  state.snapshot->source = Snapshot::Source::CONSOLE;
  state.snapshot->names[1] = "door";
  state.snapshot->details[1].voltageDv = 538;
  state.snapshot->details[1].currentMa = 407;
  state.snapshot->details[1].powered = true;
  return state;
}

TEST(LiveView, ShowsVoltageCurrentAndCostOfSnapshotsFromTheConsole) {
  ViewState state = consoleSample();
  EXPECT_EQ(rowOf(state, 0), "chip running, 40 C" + std::string(39, ' ') + "snapshot 123, age 0.4 s");
  EXPECT_EQ(rowOf(state, 2).substr(0, 55), "port state       class  W/limit   V   mA           inv ");
  EXPECT_EQ(rowOf(state, 4).substr(0, 55), ">1 DELIVERINGPOWER  4   22/30  53.8  407 #####---   12 ");
  EXPECT_EQ(rowOf(state, 7).substr(0, 43), "port 1 (door): good, priority 2, hot MOSFET");
  EXPECT_EQ(rowOf(state, 15),
            "-- events ------------------------- console: 49 transfers a snapshot, each 10 s");
  state.age = milliseconds(24999);
  EXPECT_FALSE(state.isStale());
  state.age = milliseconds(25000);
  EXPECT_EQ(rowOf(state, 0).substr(51), "STALE: no snapshot for 25.0 s");
}

TEST(LiveView, ShowsWhatIsMissingAsDashes) {
  ViewState state = consoleSample();
  state.snapshot->missing = {"mainOperStatus", "mainPower",        "mainConsumption",
                             "operStatus",     "powerConsumption", "overLoadCounter"};
  EXPECT_EQ(rowOf(state, 0).substr(0, 12), "chip -, 40 C");
  EXPECT_EQ(rowOf(state, 1), "budget needs transfers");
  EXPECT_EQ(rowOf(state, 4).substr(0, 32), ">1 power on         4    -/30  5");
  EXPECT_EQ(rowOf(state, 4).substr(50), "  12 9999    - 999k   1M   4G");
}

TEST(LiveView, HasAPageWithEverythingAboutAPort) {
  ViewState state = consoleSample();
  state.portPage = true;
  state.portHistory[1].add({15, 30});
  state.log("07:09:00", {EventKind::STATE, 1, 0, 2, 3});
  state.log("07:09:01", {EventKind::COUNTER, 1, 0, 11, 12});
  const std::string whole = screen(state, ASCII);
  const std::size_t start = whole.find("-- port 1");
  EXPECT_EQ(whole.substr(start),
            R"(-- port 1 (door) ---------------------------------------------------------------
state       DELIVERINGPOWER, class 4, detection good
configured  on, limit 30 W, priority 2
measured    22 W, 53.8 V, 407 mA; power on; hot MOSFET
counters    invalid 12, denied 9999, overload 10000
            underload 999999, short 1000000, classerr 4294967295
plugged in
-- consumption (W) of the port, and its limit ----------------------------------
  30                                                                           -

   0                                                                           #
-- events of the port ------------- console: 49 transfers a snapshot, each 10 s
07:09:00 port 1 (door) SEARCHING -> DELIVERINGPOWER
07:09:01 port 1 (door) invalidSignatureCounter +1, now 12

card: plug 0 class=2 watts=6
q quit  0-3 port  Enter page  p plug  u unplug  + - draw  s short  ? all keys
)");
}

TEST(LiveView, ScrollsBackToOlderEvents) {
  ViewState state = viewSample();
  EXPECT_EQ(mostScrolledBack(state, ASCII), 2U);
  state.scrolledBack = 1;
  EXPECT_EQ(rowOf(state, 15), "-- events, 1 newer ones below " + std::string(43, '-') + " queue");
  EXPECT_EQ(rowOf(state, 16), "07:08:02 port 2 invalidSignatureCounter +1, now 2");
  state.scrolledBack = 99;
  EXPECT_EQ(rowOf(state, 16), "07:08:01 port 2 invalidSignatureCounter +1, now 1");
}

TEST(LiveView, KeepsAScrolledListInItsPlaceWhenAnEventComes) {
  ViewState state = viewSample();
  state.scrolledBack = 1;
  state.log("07:08:09", {EventKind::CHIP_LOST});
  EXPECT_EQ(rowOf(state, 16), "07:08:02 port 2 invalidSignatureCounter +1, now 2");
}

TEST(LiveView, ForgetsTheOldestOfAThousandEvents) {
  ViewState state;
  for (int event = 0; event < 1001; event++) {
    state.log(std::to_string(event), {EventKind::CHIP_LOST});
  }
  EXPECT_EQ(state.events.size(), 1000U);
  EXPECT_EQ(state.events.front().time, "1");
}

TEST(LiveView, ShowsThePromptInPlaceOfTheNote) {
  ViewState state = viewSample();
  state.prompt = "plug 1";
  EXPECT_EQ(rowOf(state, 22), "card: plug 1_");
}

TEST(LiveView, GivesALongNoteTheRowAboveToo) {
  ViewState state = viewSample();
  state.note =
      "port 0: cannot reach the console on 127.0.0.1 port 10001: Connection refused; is the service running?";
  EXPECT_EQ(rowOf(state, 21),
            "port 0: cannot reach the console on 127.0.0.1 port 10001: Connection refused; is");
  EXPECT_EQ(rowOf(state, 22), "the service running?");
  state.note = std::string(80, 'x');
  EXPECT_EQ(rowOf(state, 21), "07:08:08 port 2 invalidSignatureCounter +1, now 8");
  EXPECT_EQ(rowOf(state, 22), state.note);
  state.note += "yz";
  EXPECT_EQ(rowOf(state, 22), "yz");
}

TEST(LiveView, CoversItsMiddleWithTheKeys) {
  ViewState state = viewSample();
  state.help = true;
  EXPECT_EQ(rowOf(state, 3), ">0 DELI  0 to 3, up, down  choose a port" + std::string(33, ' ') + "0    0");
  EXPECT_EQ(rowOf(state, 6).substr(7, 66),
            "  e                 send the example; not beside a main process" + std::string(3, ' '));
  EXPECT_EQ(rowOf(state, 8).substr(7, 66),
            "                    costs 10 transfers on the bus" + std::string(17, ' '));
  EXPECT_EQ(rowOf(state, 21).substr(7, 66),
            "  :                 any command of the card, as 'help' lists them");
}

TEST(LiveView, ShowsNoControlCharacterOfAnAnswer) {
  ViewState state = viewSample();
  state.note = "card: \033[2J\377\177";
  EXPECT_EQ(rowOf(state, 22), "card: ?[2J??");
}

TEST(ConsumptionHistory, ForgetsTheOldestOfAThousandEntries) {
  ConsumptionHistory history;
  history.add({7, 100});
  for (int entry = 0; entry < 999; entry++) {
    history.addGap();
  }
  EXPECT_EQ(history.at(999)->consumption, 7U);
  history.addGap();
  EXPECT_EQ(history.size(), 1000U);
  EXPECT_FALSE(history.at(999));
  EXPECT_FALSE(history.at(1000));
}

} // namespace
