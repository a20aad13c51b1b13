// Text of any kind, taken for commands, scenarios and dumps: it is either obeyed or
// refused in one line. The seeds are fixed and stand in the tests' names.
#include "simulator/card/card_command.h"
#include "simulator/card/register_dump.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

constexpr int INPUTS = 3000;

class CardFuzz : public testing::TestWithParam<unsigned> {
protected:
  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(m_random);
  }

  // Some bytes replaced, taken out, put in, or a piece said twice.
  std::string mutated(std::string text) {
    for (std::size_t changes = 1 + below(6); changes > 0; --changes) {
      const std::size_t place = below(text.size() + 1);
      switch (below(4)) {
      case 0:
        text.insert(place, 1, anyByte());
        break;
      case 1:
        text.erase(place, below(8));
        break;
      case 2:
        text.insert(place, text.substr(below(text.size() + 1), below(40)));
        break;
      default:
        if (place < text.size()) {
          text[place] = anyByte();
        }
        break;
      }
    }
    return text;
  }

  // Half of them of those that mean something.
  char anyByte() {
    static const std::string USUAL = "0123456789abcdefxX.=-+: \n\t#pluginwaitreg";
    return below(2) == 0 ? USUAL.at(below(USUAL.size())) : static_cast<char>(below(256));
  }

  std::string anyCommand() {
    static const std::vector<std::string> COMMANDS = {"plug 0 class=4 watts=22.5 signature=good",
                                                      "plug 3 signature=capacitance",
                                                      "unplug 1",
                                                      "draw 2 13.7",
                                                      "short 0",
                                                      "fault 1 overtemperature",
                                                      "class-error 2",
                                                      "temperature -3.5",
                                                      "thermal on",
                                                      "supply 44.5",
                                                      "bank 9",
                                                      "power-cycle",
                                                      "bus fail 12",
                                                      "bus every 3",
                                                      "bus register 0x43",
                                                      "reg 0x12",
                                                      "reg 0x12 0xFF",
                                                      "dump",
                                                      "show",
                                                      "help",
                                                      "load /dev/null"};
    return COMMANDS.at(below(COMMANDS.size()));
  }

  Card card;
  int obeyed = 0;
  int refused = 0;

private:
  std::mt19937 m_random{GetParam()};
};

// Of one line of printable text that names what is accepted.
void expectOneLine(const std::string& message) {
  EXPECT_NE(message.find("; accepted "), std::string::npos) << message;
  EXPECT_LT(message.size(), 500U);
  EXPECT_TRUE(std::all_of(message.begin(), message.end(), [](char c) { return c >= ' ' && c <= '~'; }))
      << message;
}

TEST_P(CardFuzz, OfCommandsIsObeyedOrRefusedInOneLine) {
  for (int i = 0; i < INPUTS; ++i) {
    const std::string line = mutated(anyCommand());
    try {
      const std::string reply = parseCardCommand(line).run(card);
      ++obeyed;
      EXPECT_EQ(reply.back(), '\n');
      EXPECT_EQ(reply.find("\n\n"), std::string::npos) << "an empty line ends a reply";
      card.chip.advance(0.05);
    } catch (const CardCommandError& error) {
      ++refused;
      expectOneLine(error.what());
    }
  }
  EXPECT_GT(obeyed, INPUTS / 100);
  EXPECT_GT(refused, INPUTS / 10);
}

TEST_P(CardFuzz, OfDumpsIsReadOrRefusedInOneLine) {
  RegisterImage image;
  for (std::size_t address = 0; address < image.size(); ++address) {
    image.at(address) = static_cast<std::uint8_t>(below(256));
  }
  const std::string dump = writeRegisterDump(image);
  for (int i = 0; i < INPUTS; ++i) {
    try {
      card.chip.load(readRegisterDump(mutated(dump)));
      card.chip.advance(2.0);
      ++obeyed;
    } catch (const RegisterDumpError& error) {
      ++refused;
      expectOneLine(error.what());
    }
  }
  EXPECT_GT(obeyed, INPUTS / 100);
  EXPECT_GT(refused, INPUTS / 10);
}

INSTANTIATE_TEST_SUITE_P(Seeds, CardFuzz, testing::Range(1U, 5U),
                         [](const auto& seed) { return "Seed" + std::to_string(seed.param); });

} // namespace
