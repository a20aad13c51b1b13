// Register images as text.
#include "simulator/card/register_dump.h"
#include "tests/support/error_text.h"
#include "tests/support/process/command.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace {

#define HEADING "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n"

std::string errorOf(const std::string& text) {
  return errorText<RegisterDumpError>([&] { readRegisterDump(text); });
}

TEST(RegisterDump, IsWrittenInTheFormOfI2cdump) {
  RegisterImage image;
  image.fill(std::uint8_t{0});
  image.at(0x0C) = std::uint8_t{0x64};
  image.at(0x0D) = std::uint8_t{0xFF};
  image.at(0x0E) = std::uint8_t{0x1F};
  image.at(0x0F) = std::uint8_t{0x7F};
  image.at(0xC1).reset();
  const std::vector<std::string> lines = linesOf(writeRegisterDump(image));
  ASSERT_EQ(lines.size(), 17U);
  EXPECT_EQ(lines.at(0) + "\n", HEADING);
  EXPECT_EQ(lines.at(1), "00: 00 00 00 00 00 00 00 00 00 00 00 00 64 ff 1f 7f    ............d.??");
  EXPECT_EQ(lines.at(13), "c0: 00 XX 00 00 00 00 00 00 00 00 00 00 00 00 00 XX    .X.............X");
  EXPECT_EQ(lines.at(16), "f0: XX XX XX XX XX XX XX XX XX XX XX XX XX XX XX XX    XXXXXXXXXXXXXXXX");
}

TEST(RegisterDump, IsReadAsItWasWritten) {
  RegisterImage image;
  for (std::size_t address = 0; address < image.size(); ++address) {
    if (address % 5 != 0) {
      image.at(address) = static_cast<std::uint8_t>(3 * address + 1);
    }
  }
  EXPECT_EQ(readRegisterDump(writeRegisterDump(image)), image);
}

TEST(RegisterDump, MayHaveRowsAndRegistersLeftOut) {
  const RegisterImage image = readRegisterDump(HEADING "40:          41 0f                                "
                                                       "         A?        \n"
                                                       "90: 00 08\n");
  RegisterImage expected;
  expected.at(0x43) = std::uint8_t{0x41};
  expected.at(0x44) = std::uint8_t{0x0F};
  expected.at(0x90) = std::uint8_t{0x00};
  expected.at(0x91) = std::uint8_t{0x08};
  EXPECT_EQ(image, expected);
}

const std::string IN_ORDER = ", each once and rising";
const std::string DIGITS = "; accepted are two digits 0 to 9 and a to f, XX or blanks, and a blank";
const std::string FIRST = "; accepted is '     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f'";

const std::pair<const char*, std::string> WRONG_DUMPS[] = {
    {"", "line 1: '' is not the heading" + FIRST},
    {"00: 00\n", "line 1: '00: 00' is not the heading" + FIRST},
    {HEADING, "line 2: there is no row; accepted are '00: ' to 'f0: '"},
    {HEADING "hello\n", "line 2: 'hell' is no row; accepted are '00: ' to 'f0: '" + IN_ORDER},
    {HEADING "\n", "line 2: '' is no row; accepted are '00: ' to 'f0: '" + IN_ORDER},
    {HEADING "08: 00\n", "line 2: '08: ' is no row; accepted are '00: ' to 'f0: '" + IN_ORDER},
    {HEADING "A0: 00\n", "line 2: 'A0: ' is no row; accepted are '00: ' to 'f0: '" + IN_ORDER},
    {HEADING "10: 00\n10: 00\n", "line 3: '10: ' is no row; accepted are '20: ' to 'f0: '" + IN_ORDER},
    {HEADING "20: 00\n10: 00\n", "line 3: '10: ' is no row; accepted are '30: ' to 'f0: '" + IN_ORDER},
    {HEADING "f0: XX\nf0: XX\n", "line 3: 'f0: ' is no row; accepted is the end"},
    {HEADING "10: 00 0g\n", "line 2: '0g ' is no value of register 11" + DIGITS},
    {HEADING "10: AB\n", "line 2: 'AB ' is no value of register 10" + DIGITS},
    {HEADING "10: 123\n", "line 2: '123' is no value of register 10" + DIGITS},
    {HEADING "10: 1\n", "line 2: '1  ' is no value of register 10" + DIGITS},
    {HEADING "10: X \n", "line 2: 'X  ' is no value of register 10" + DIGITS},
    {HEADING "d0: 00\n", "line 2: there is no register d0; accepted is XX or blanks above register ce"},
};

TEST(RegisterDump, ThatIsWrongSaysWhereWhatIsWrongAndWhatIsAccepted) {
  for (const auto& [text, message] : WRONG_DUMPS) {
    EXPECT_EQ(errorOf(text), message) << text;
  }
}

} // namespace
