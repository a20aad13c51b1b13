// Lines of a record file: any text is refused in one line, or it is a snapshot whose own line is read as the
// same.
#include "poectl/record/record_line.h"
#include "poectl/status/status_export.h"
#include "tests/fuzz/expectations.h"
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  Snapshot snapshot;
  try {
    snapshot = parseRecord(text);
  } catch (const RecordLineError& error) {
    const std::string reason = error.what();
    EXPECT_FALSE(reason.empty());
    EXPECT_LE(reason.size(), 400U);
    expectOneLine(reason);
    return 0;
  }
  const std::string line = snapshotJsonLine(snapshot);
  EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
  EXPECT_EQ(snapshotJsonLine(parseRecord(line)), line);
  return 0;
}
