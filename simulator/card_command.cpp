#include "simulator/card_command.h"

#include "simulator/card_report.h"
#include "simulator/command_arguments.h"
#include "simulator/hexadecimal.h"

#include <array>
#include <iterator>
#include <sstream>
#include <vector>

namespace {

using Action = std::function<std::string(Card&)>;
using Signature = ChipModel::Signature;

constexpr double MOST_WATTS = 100.0;
constexpr double COLDEST = -27.0; // what the chip's register can show
constexpr double HOTTEST = 217.0;
constexpr unsigned MOST_TRANSFERS = 1'000'000;

// A command that changes the card has nothing to tell.
template <typename Change>
Action silent(Change change) {
  return [change](Card& card) {
    change(card);
    return std::string("ok\n");
  };
}

Action parsePlug(CommandArguments& arguments) {
  static constexpr CommandArguments::Choices<Signature, 6> SIGNATURES = {
      {{"good", Signature::Good},
       {"short", Signature::Short},
       {"capacitance", Signature::CapacitanceTooHigh},
       {"low", Signature::ResistanceTooLow},
       {"high", Signature::ResistanceTooHigh},
       {"none", Signature::None}}};
  const unsigned port = arguments.port();
  ChipModel::Device device;
  while (arguments.more()) {
    if (arguments.takeKey("class=")) {
      device.pdClass = arguments.number("C", 0, 4);
    } else if (arguments.takeKey("watts=")) {
      device.watts = arguments.decimal("W", 0.0, MOST_WATTS);
    } else if (arguments.takeKey("signature=")) {
      device.signature = arguments.oneOf("S", SIGNATURES);
    } else {
      arguments.fail(quoted(arguments.word("")) + " is not understood");
    }
  }
  return silent([port, device](Card& card) { card.chip.plug(port, device); });
}

Action parseUnplug(CommandArguments& arguments) {
  const unsigned port = arguments.port();
  return silent([port](Card& card) { card.chip.unplug(port); });
}

Action parseDraw(CommandArguments& arguments) {
  const unsigned port = arguments.port();
  const double watts = arguments.decimal("WATTS", 0.0, MOST_WATTS);
  return silent([port, watts](Card& card) { card.chip.draw(port, watts); });
}

Action parseShort(CommandArguments& arguments) {
  const unsigned port = arguments.port();
  return silent([port](Card& card) { card.chip.plug(port, {Signature::Short, 0, 0.0}); });
}

Action parseTemperature(CommandArguments& arguments) {
  const double degrees = arguments.decimal("C", COLDEST, HOTTEST);
  return silent([degrees](Card& card) { card.chip.temperature(degrees); });
}

Action parseThermal(CommandArguments& arguments) {
  static constexpr CommandArguments::Choices<bool, 2> SWITCH = {{{"on", true}, {"off", false}}};
  const bool shutDown = arguments.oneOf("SWITCH", SWITCH);
  return silent([shutDown](Card& card) { card.chip.thermalShutdown(shutDown); });
}

Action parsePowerCycle(CommandArguments& /*arguments*/) {
  return silent([](Card& card) { card.chip.powerCycle(); });
}

Action parseBus(CommandArguments& arguments) {
  const std::string fault = arguments.word("FAULT");
  if (fault == "ok") {
    return silent([](Card& card) { card.bus.none(); });
  }
  if (fault == "dead") {
    return silent([](Card& card) { card.bus.dead(); });
  }
  if (fault == "fail") {
    const unsigned count = arguments.number("N", 1, MOST_TRANSFERS);
    return silent([count](Card& card) { card.bus.next(count); });
  }
  if (fault == "every") {
    const unsigned count = arguments.number("N", 1, MOST_TRANSFERS);
    return silent([count](Card& card) { card.bus.every(count); });
  }
  if (fault == "register") {
    const auto address = static_cast<std::uint8_t>(arguments.number("R", 0, 0xFF));
    return silent([address](Card& card) { card.bus.onRegister(address); });
  }
  arguments.wrong("FAULT");
}

Action parseReg(CommandArguments& arguments) {
  const auto address = static_cast<std::uint8_t>(arguments.number("ADDR", 0, LAST_REGISTER));
  if (!arguments.more()) {
    return [address](Card& card) {
      return hexadecimal(address) + " " + hexadecimal(card.chip.reg(address)) + "\n";
    };
  }
  const auto value = static_cast<std::uint8_t>(arguments.number("VALUE", 0, 0xFF));
  return silent([address, value](Card& card) { card.chip.setReg(address, value); });
}

Action parseShow(CommandArguments& /*arguments*/) {
  return cardReport;
}

Action parseHelp(CommandArguments& arguments);

struct Word {
  const char* name;
  Action (*parse)(CommandArguments& arguments);
  const char* accepted;
  const char* purpose;
};

constexpr Word WORDS[] = {
    {"plug", parsePlug,
     "plug PORT [class=C] [watts=W] [signature=S] with PORT 0 to 3, C 0 to 4, W 0 to 100, S good, short, "
     "capacitance, low, high or none",
     "a device, of class 0, drawing 5 W and with a good signature if nothing else is said"},
    {"unplug", parseUnplug, "unplug PORT with PORT 0 to 3", "takes the device away"},
    {"draw", parseDraw, "draw PORT WATTS with PORT 0 to 3, WATTS 0 to 100",
     "what the device draws from now on"},
    {"short", parseShort, "short PORT with PORT 0 to 3", "a short circuit in place of the device"},
    {"temperature", parseTemperature, "temperature C with C -27 to 217", "of the chip"},
    {"thermal", parseThermal, "thermal SWITCH with SWITCH on or off", "thermal shutdown of all ports"},
    {"power-cycle", parsePowerCycle, "power-cycle", "all registers as after power-on"},
    {"bus", parseBus,
     "bus FAULT with FAULT ok, dead, fail N, every N or register R, N 1 to 1000000, R 0 to 0xFF",
     "which transfers fail: none, all, the next N, each Nth, those on one register"},
    {"reg", parseReg, "reg ADDR [VALUE] with ADDR 0 to 0xCE, VALUE 0 to 0xFF",
     "shows a register, or puts a value into it past all access rules"},
    {"show", parseShow, "show", "the state of the card, key=value"},
    {"help", parseHelp, "help", "this text"},
};

Action parseHelp(CommandArguments& /*arguments*/) {
  return [](Card& /*card*/) {
    std::string text;
    for (const Word& word : WORDS) {
      text += std::string(word.accepted) + ": " + word.purpose + "\n";
    }
    return text;
  };
}

std::vector<std::string> wordsOf(const std::string& line) {
  std::istringstream stream(line);
  return {std::istream_iterator<std::string>(stream), {}};
}

} // namespace

CardCommand parseCardCommand(const std::string& line) {
  const std::vector<std::string> words = wordsOf(line);
  if (words.empty()) {
    throw CardCommandError("there is no command; accepted are " + cardCommandNames());
  }
  for (const Word& word : WORDS) {
    if (words.front() == word.name) {
      CommandArguments arguments(words, word.accepted);
      CardCommand command{word.parse(arguments)};
      arguments.end();
      return command;
    }
  }
  throw CardCommandError(quoted(words.front()) + " is not understood; accepted are " + cardCommandNames());
}

std::string cardCommandNames() {
  std::string names = WORDS[0].name;
  for (std::size_t i = 1; i < std::size(WORDS); ++i) {
    names += (i + 1 < std::size(WORDS) ? ", " : " and ") + std::string(WORDS[i].name);
  }
  return names;
}
