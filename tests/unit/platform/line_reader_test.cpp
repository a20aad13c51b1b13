#include "platform/host/console/line_reader.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Result = LineReader::Result;

// Gives the reader `bytes` in pieces of `pieceSize` and returns the lines that come out, "(too long)" for
// each that was thrown away.
std::vector<std::string> lines(LineReader& reader, const std::string& bytes, std::size_t pieceSize) {
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

} // namespace

// The same in pieces of any size.
class LineReaderInPieces : public testing::TestWithParam<std::size_t> {
protected:
  std::vector<std::string> read(const std::string& bytes) { return lines(m_reader, bytes, GetParam()); }

  LineReader m_reader;
};

INSTANTIATE_TEST_SUITE_P(, LineReaderInPieces, testing::Values(1, 2, 3, 7, 1023, 1024, 1025, 4096));

TEST_P(LineReaderInPieces, TakesTheLineEndOff) {
  EXPECT_EQ(read("one\ntwo\r\n"), (std::vector<std::string>{"one", "two"}));
}

TEST_P(LineReaderInPieces, TakesEmptyLines) {
  EXPECT_EQ(read("\n\r\n\n"), (std::vector<std::string>{"", "", ""}));
}

TEST_P(LineReaderInPieces, TakesOnlyTheLastCarriageReturnOff) {
  EXPECT_EQ(read("a\rb\r\r\n"), (std::vector<std::string>{"a\rb\r"}));
}

TEST_P(LineReaderInPieces, TakesNoLineWithoutItsEnd) {
  EXPECT_EQ(read("one\ntwo"), (std::vector<std::string>{"one"}));
  EXPECT_FALSE(m_reader.hasLine());
}

TEST_P(LineReaderInPieces, TakesALineOf1024Bytes) {
  const std::string longest(1024, 'x');
  EXPECT_EQ(read(longest + "\n" + longest + "\r\nnext\n"),
            (std::vector<std::string>{longest, longest, "next"}));
}

TEST_P(LineReaderInPieces, ThrowsALineOf1025BytesAwayAsAWhole) {
  const std::string tooLong(1025, 'x');
  EXPECT_EQ(read(tooLong + "\nnext\n" + tooLong + "\r\nlast\n"),
            (std::vector<std::string>{"(too long)", "next", "(too long)", "last"}));
}

TEST_P(LineReaderInPieces, CountsACarriageReturnThatIsNotPartOfTheEnd) {
  EXPECT_EQ(read(std::string(1024, 'x') + "\rx\nnext\n"), (std::vector<std::string>{"(too long)", "next"}));
}

TEST_P(LineReaderInPieces, ThrowsAVeryLongLineAwayOnce) {
  EXPECT_EQ(read(std::string(100000, 'x') + "\nnext\n"), (std::vector<std::string>{"(too long)", "next"}));
}

TEST_P(LineReaderInPieces, KeepsBytesOfAllValues) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) {
    if (byte != '\n') {
      all += static_cast<char>(byte);
    }
  }
  EXPECT_EQ(read(all + "\n"), std::vector<std::string>{all});
}

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
