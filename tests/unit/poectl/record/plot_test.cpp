// Plots of records, by gnuplot itself.
#include "poectl/record/plot_data.h"
#include "tests/support/process/command.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/unit/poectl/record/record_sample.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class PlottedRecord : public ::testing::Test {
protected:
  // A minute in which each port has a consumption and a name of its own.
  std::string record() const {
    std::string lines;
    for (unsigned number = 0; number < 60; number++) {
      Snapshot snapshot = recordedMessage(seconds(number));
      for (unsigned port = 0; port < POE_PORTS; port++) {
        snapshot.names[port] = names[port];
        snapshot.status.port[port].powerConsumption = 5 * port + number % 5;
        snapshot.status.port[port].operStatus = number < 30 ? 3 : 4;
        snapshot.status.port[port].shortCounter = number < 30 ? 0 : 1;
      }
      lines += snapshotJsonLine(snapshot);
    }
    return folder.write("r", lines);
  }

  // The picture, after a parser of XML has taken it.
  std::string picture() const {
    const std::string path = folder.file("p.svg");
    const CommandResult plot = run(std::string(POECTL) + " plot " + record() + " --out " + path);
    EXPECT_EQ(plot.status, 0) << plot.output;
    const CommandResult parsed = run(
        "python3 -c 'import sys, xml.etree.ElementTree as tree; "
        "print(*(text for node in tree.parse(sys.argv[1]).iter() for text in [node.tag, node.text or \"\"]), "
        "sep=\"\\n\")' " +
        path);
    EXPECT_EQ(parsed.status, 0) << parsed.output;
    return parsed.output + folder.read("p.svg");
  }

  const TemporaryDirectory folder;
  std::array<std::string, POE_PORTS> names = {"hall", "lift", "gate", "roof"};
};

TEST_F(PlottedRecord, HasTheConsumptionTheStatesAndTheEventsOfEachPort) {
  const std::string svg = picture();
  for (const char* const text : {"port 0 hall", "port 1 lift", "port 2 gate", "port 3 roof", "all ports",
                                 "bank limit", "DELIVERINGPOWER", "FAULT", "sht", "sht: short", "chip",
                                 "r: 60 records, 2023-11-14T22:13:20.123Z to 2023-11-14T22:14:19.123Z"}) {
    EXPECT_NE(svg.find("\n" + std::string(text) + "\n"), std::string::npos) << text;
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    const std::string head = "<g id=\"gnuplot_plot_" + std::to_string(3 + port) + "a\"";
    const std::size_t start = svg.find(head);
    ASSERT_NE(start, std::string::npos) << head;
    const std::string curve = svg.substr(start, svg.find("<g id=", start + 1) - start);
    EXPECT_GT(std::count(curve.begin(), curve.end(), ','), 60) << "points of port " << port;
  }
}

TEST_F(PlottedRecord, ShowsNamesAsTheyAreAndRunsNothingInThem) {
  const std::string made = folder.file("made");
  names = {"'; system('touch m') #", "`touch " + made + "`", "<b>&amp;\"\n$POINTS",
           "@{x}_\\n\xEF\xBF\xBE\xC3\xA9"};
  const std::string svg = picture();
  for (const char* const text : {"port 0 '; system('touch...", "port 1 `touch /tmp/poe_...",
                                 "port 2 <b>&amp;\"?$POINT...", "port 3 @{x}_\\n?\xC3\xA9"}) {
    EXPECT_NE(svg.find("\n" + std::string(text) + "\n"), std::string::npos) << text;
  }
  EXPECT_EQ(run("ls " + folder.path().string()).output, "p.svg\nr\n");
}

TEST_F(PlottedRecord, OfAnyLengthHasABoundedNumberOfPointsWithTheGreatestValues) {
  constexpr unsigned RECORDS = 2 * PlotData::MAX_POINTS + 1;
  PlotData data;
  for (unsigned number = 0; number < RECORDS; number++) {
    Snapshot snapshot = recordedMessage(seconds(number));
    snapshot.status.port[2].powerConsumption = number == 1001 ? 40 : 3;
    snapshot.status.port[0].operStatus = 1 + number % 2;
    snapshot.status.port[1].shortCounter = number;
    data.add(snapshot);
  }
  EXPECT_EQ(data.records(), RECORDS);
  ASSERT_EQ(data.points().size(), PlotData::MAX_POINTS / 2 + 1);
  EXPECT_EQ(data.points()[250].consumption[2], 40U);
  EXPECT_EQ(data.points()[250].time, RECORD_START + seconds(1000));
  EXPECT_EQ(data.points()[251].consumption[2], 3U);
  EXPECT_EQ(data.states().size(), RECORDS + 3);
  EXPECT_EQ(data.states().back().to, RECORD_START + seconds(RECORDS - 1));
  EXPECT_EQ(data.events().size(), RECORDS - 1);
}

TEST_F(PlottedRecord, InterruptsItsCurvesAndStatesWhereItKnowsNothing) {
  PlotData data;
  Snapshot snapshot = recordedMessage(seconds(0));
  snapshot.number = 5;
  data.add(snapshot);
  for (const auto& [after, number] : {std::pair(seconds(60), 6UL), std::pair(seconds(61), 1UL)}) {
    snapshot.end = RECORD_START + after;
    snapshot.number = number;
    data.add(snapshot);
    EXPECT_TRUE(data.points().back().afterSilence);
  }
  ASSERT_EQ(data.states().size(), 3 * POE_PORTS);
  EXPECT_EQ(data.states()[0].to, data.states()[0].from);
  EXPECT_EQ(data.events().size(), 2U) << "a silence; another run is none";
  snapshot = recordedMessage(seconds(62));
  snapshot.missing = {"operStatus", "powerConsumption"};
  snapshot.number = 2;
  data.add(snapshot);
  EXPECT_FALSE(data.points().back().consumption[0]);
  EXPECT_EQ(data.states().size(), 3 * POE_PORTS);
}

} // namespace
