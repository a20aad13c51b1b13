// A record as a line, and back.
#include "poectl/record/record_line.h"

#include "tests/support/error_text.h"
#include "tests/unit/poectl/record/record_sample.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using Json = nlohmann::json;

std::string refusalOf(const std::string& line) {
  return errorText<RecordLineError>([&] { parseRecord(line); });
}

// Prints nothing that it does not know, so that equal lines are equal snapshots.
TEST(RecordLine, IsReadAsTheSnapshotThatItWasMadeOf) {
  RandomSnapshots random(1);
  for (unsigned run = 0; run < 500; run++) {
    const std::string line = snapshotJsonLine(random.next());
    ASSERT_EQ(snapshotJsonLine(parseRecord(line)), line);
  }
}

TEST(RecordLine, MayHaveKeysOfALaterPoectl) {
  Json json = Json::parse(snapshotJsonLine(recordedMessage({})));
  json["weather"] = Json::array({1, nullptr});
  json["port"][2]["colour"] = "blue";
  EXPECT_EQ(snapshotJsonLine(parseRecord(json.dump())), snapshotJsonLine(recordedMessage({})));
}

TEST(RecordLine, IsRefusedWithAReasonWhenAValueIsWrong) {
  std::ifstream table(RECORD_REFUSALS);
  unsigned rows = 0;
  for (std::string row; std::getline(table, row);) {
    std::string pointer;
    std::string value;
    std::string reason;
    std::istringstream columns(row);
    if (row[0] == '#' || !std::getline(columns, pointer, '\t') || !std::getline(columns, value, '\t') ||
        !std::getline(columns, reason)) {
      continue;
    }
    const Json record = Json::parse(snapshotJsonLine(recordedMessage({})));
    const Json patch = {{{"op", value == "-" ? "remove" : "add"}, {"path", pointer}}};
    Json change = patch;
    if (value != "-") {
      change[0]["value"] = Json::parse(value);
      const bool replaces = pointer.back() != '-' && record.contains(Json::json_pointer(pointer));
      change[0]["op"] = replaces ? "replace" : "add";
    }
    const std::string refusal = refusalOf(record.patch(change).dump());
    EXPECT_EQ(refusal.substr(0, reason.size()), reason) << row;
    rows++;
  }
  EXPECT_GE(rows, 50U);
}

TEST(RecordLine, IsRefusedWhenItIsNoObject) {
  for (const char* const line :
       {"", "{", "[]", "7", "null", "\"a\"", "{} {}", "{\"a\":\"\xFF\"}", "{\"a\":1e999}"}) {
    EXPECT_EQ(refusalOf(line), "no record; accepted is a JSON object of 'poectl watch --record'") << line;
  }
}

TEST(RecordLine, OfTheConsoleHasAFieldOfAllPortsOrOfNone) {
  Snapshot snapshot = recordedMessage({});
  snapshot.source = Snapshot::Source::CONSOLE;
  Json json = Json::parse(snapshotJsonLine(snapshot));
  json.erase("mainPower");
  for (Json& port : json["port"]) {
    port.erase("shortCounter");
  }
  EXPECT_EQ(parseRecord(json.dump()).missing, (std::set<std::string>{"mainPower", "shortCounter"}));
  json["port"][3]["shortCounter"] = 1;
  EXPECT_EQ(refusalOf(json.dump()), "\"shortCounter\" is there for some ports only; accepted is all or none");
}

} // namespace
