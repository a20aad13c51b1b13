// Register images: any text is refused in one line, or read; what was read is written and read again as the
// same image, and the simulated chip that loads it shows its registers and goes on from there.
#include "simulator/card/register_dump.h"
#include "simulator/chip/chip_model.h"
#include "tests/fuzz/expectations.h"
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

// "line N: what is wrong; accepted ...", of printable characters, with a line that is in the text or ends it.
void expectRefusalOfDump(const std::string& error, const std::string& text) {
  expectOneLine(error);
  EXPECT_LT(error.size(), 300U);
  EXPECT_NE(error.find("; accepted "), std::string::npos) << error;
  unsigned line = 0;
  EXPECT_EQ(std::sscanf(error.c_str(), "line %u: ", &line), 1) << error;
  const auto ends = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  EXPECT_TRUE(line >= 1 && line <= ends + 2) << error;
}

void expectLoaded(const RegisterImage& image) {
  ChipModel chip;
  chip.load(image);
  for (std::size_t address = 0; address < image.size(); address++) {
    if (image.at(address)) {
      EXPECT_EQ(chip.reg(static_cast<std::uint8_t>(address)), *image.at(address)) << address;
    }
  }
  chip.advance(2.0);
  EXPECT_GE(chip.supply(), 0.0);
  for (unsigned port = 0; port < ChipModel::PORTS; port++) {
    EXPECT_LE(chip.device(port).pdClass, 4U);
    EXPECT_GE(chip.device(port).watts, 0.0);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  RegisterImage image;
  try {
    image = readRegisterDump(text);
  } catch (const RegisterDumpError& error) {
    expectRefusalOfDump(error.what(), text);
    return 0;
  }
  EXPECT_EQ(readRegisterDump(writeRegisterDump(image)), image);
  expectLoaded(image);
  return 0;
}
