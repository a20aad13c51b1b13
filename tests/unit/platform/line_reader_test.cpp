#include "platform/host/console/line_reader.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Result = LineReader::Result;

// Gives a reader `bytes` in pieces of `pieceSize` and returns the lines that come out, "(too long)" for each
// that was thrown away.
std::vector<std::string> lines(const std::string& bytes, std::size_t pieceSize) {
  LineReader reader;
  std::vector<std::string> result;
  std::string line;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t size = std::min({pieceSize, reader.spaceSize(), bytes.size() - at});
    EXPECT_GT(size, 0U);
    std::memcpy(reader.space(), bytes.data() + at, size);
    reader.added(size);
    at += size;
    for (Result taken = reader.next(&line); taken != Result::NONE; taken = reader.next(&line)) {
      result.push_back(taken == Result::LINE ? line : "(too long)");
    }
  }
  return result;
}

std::string allBytesButTheLineEnd() {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) {
    if (byte != '\n') {
      all += static_cast<char>(byte);
    }
  }
  return all;
}

struct Row {
  const char* name;
  std::string bytes;
  std::vector<std::string> lines;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

const std::string LONGEST(1024, 'x');
const std::string TOO_LONG(1025, 'x');
const std::string BYTES = allBytesButTheLineEnd();

const Row ROWS[] = {
    {"TakesTheLineEndOff", "one\ntwo\r\n", {"one", "two"}},
    {"TakesEmptyLines", "\n\r\n\n", {"", "", ""}},
    {"TakesOnlyTheLastCarriageReturnOff", "a\rb\r\r\n", {"a\rb\r"}},
    {"TakesNoLineWithoutItsEnd", "one\ntwo", {"one"}},
    {"TakesALineOf1024Bytes", LONGEST + "\n" + LONGEST + "\r\nnext\n", {LONGEST, LONGEST, "next"}},
    {"ThrowsALineOf1025BytesAwayAsAWhole",
     TOO_LONG + "\nnext\n" + TOO_LONG + "\r\nlast\n",
     {"(too long)", "next", "(too long)", "last"}},
    {"CountsACarriageReturnThatIsNotPartOfTheEnd", LONGEST + "\rx\nnext\n", {"(too long)", "next"}},
    {"ThrowsAVeryLongLineAwayOnce", std::string(100000, 'x') + "\nnext\n", {"(too long)", "next"}},
    {"KeepsBytesOfAllValues", BYTES + "\n", {BYTES}},
};

class LineReaderInPieces : public testing::TestWithParam<Row> {};

TEST_P(LineReaderInPieces, OfAnySizeGivesTheLines) {
  for (const std::size_t pieceSize : {1U, 2U, 3U, 7U, 1023U, 1024U, 1025U, 4096U}) {
    EXPECT_EQ(lines(GetParam().bytes, pieceSize), GetParam().lines) << "in pieces of " << pieceSize;
  }
}

INSTANTIATE_TEST_SUITE_P(Of, LineReaderInPieces, testing::ValuesIn(ROWS),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace

TEST(LineReader, SaysThatALineIsThereBeforeItIsTaken) {
  LineReader reader;
  EXPECT_FALSE(reader.hasLine());
  std::memcpy(reader.space(), "a\nb", 3);
  reader.added(3);
  EXPECT_TRUE(reader.hasLine());
  std::string line;
  EXPECT_EQ(reader.next(&line), Result::LINE);
  EXPECT_FALSE(reader.hasLine());
}
