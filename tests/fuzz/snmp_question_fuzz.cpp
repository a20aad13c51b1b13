// What snmpd, or anybody else, writes to poectl snmp: the answers are the same however the bytes are cut, and
// each is one that snmpd takes.
#include "poectl/snmp/pass_persist.h"
#include "tests/fuzz/fuzz_target.h"

#include <set>
#include <sstream>

namespace {

// Checks the answers one after the other.
void expectAnswers(const std::string& answers) {
  const std::set<std::string> types = {"integer", "gauge", "counter", "string", "objectid"};
  const std::set<std::string> words = {"PONG", "NONE", "not-writable"};
  std::istringstream lines(answers);
  for (std::string line; std::getline(lines, line);) {
    if (words.count(line) == 0) {
      EXPECT_TRUE(oidFrom(line)) << answers;
      EXPECT_TRUE(std::getline(lines, line) && types.count(line) == 1) << answers;
      EXPECT_TRUE(std::getline(lines, line)) << answers;
    }
  }
  EXPECT_TRUE(answers.empty() || answers.back() == '\n');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Snapshot snapshot;
  snapshot.status.mainPower = data.ConsumeIntegral<std::uint32_t>();
  snapshot.status.port[0].operStatus = data.ConsumeIntegral<std::uint32_t>();
  snapshot.names[0] = data.ConsumeRandomLengthString();
  const CardLook look = {data.ConsumeBool() ? &snapshot : nullptr, std::chrono::milliseconds(0)};
  const std::string whole = data.ConsumeRandomLengthString();
  PassPersist once([&] { return look; });
  const std::string answers = once.take(whole);
  expectAnswers(answers);
  PassPersist cut([&] { return look; });
  std::string pieces;
  for (std::size_t start = 0; start < whole.size();) {
    const std::size_t length = data.ConsumeIntegralInRange<std::size_t>(1, whole.size() - start);
    pieces += cut.take(std::string_view(whole).substr(start, length));
    start += length;
  }
  EXPECT_EQ(pieces, answers);
  return 0;
}
