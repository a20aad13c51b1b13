#include "simulator/card/card_command.h"

#include "simulator/card/card_report.h"
#include "simulator/card/register_dump.h"
#include "text/text.h"
#include "text/text_file.h"

#include <cctype>
#include <iterator>
#include <sstream>
#include <utility>

namespace {

using Signature = ChipModel::Signature;

constexpr double MAX_WATTS = 100.0;
constexpr double MIN_DEGREES_C = -27.0; // what the chip's register can show
constexpr double MAX_DEGREES_C = 217.0;
constexpr double MAX_VOLTS = 100.0;
constexpr unsigned MAX_BANK = 15;
constexpr unsigned MAX_TRANSFERS = 1'000'000;
constexpr unsigned MAX_LATENESS_MS = 60'000;
constexpr double MAX_SECONDS = 1'000'000.0;
constexpr std::size_t MAX_DUMP_BYTES = 65'536;

// A command that changes the card only replies that it is done.
template <typename Change>
CardCommand changing(Change change) {
  const auto run = [change](Card& card) {
    change(card);
    return std::string("ok\n");
  };
  return {run, false};
}

CardCommand describing(std::function<std::string(const Card&)> describe) {
  return {std::move(describe), true};
}

CardCommand parsePlug(CommandArguments& arguments) {
  const unsigned port = arguments.port();
  ChipModel::Device device;
  while (arguments.more()) {
    if (arguments.takeKey("class=")) {
      device.pdClass = arguments.number("C", 0, 4);
    } else if (arguments.takeKey("watts=")) {
      device.watts = arguments.decimal("W", 0.0, MAX_WATTS);
    } else if (arguments.takeKey("signature=")) {
      device.signature = arguments.oneOf("S", SIGNATURE_WORDS);
    } else {
      arguments.fail(text::quoted(arguments.word("")) + " is not understood");
    }
  }
  return changing([port, device](Card& card) { card.chip.plug(port, device); });
}

CardCommand parseUnplug(CommandArguments& arguments) {
  const unsigned port = arguments.port();
  return changing([port](Card& card) { card.chip.unplug(port); });
}

CardCommand parseDraw(CommandArguments& arguments) {
  const unsigned port = arguments.port();
  const double watts = arguments.decimal("WATTS", 0.0, MAX_WATTS);
  return changing([port, watts](Card& card) { card.chip.draw(port, watts); });
}

CardCommand parseShort(CommandArguments& arguments) {
  const unsigned port = arguments.port();
  return changing([port](Card& card) { card.chip.plug(port, {Signature::Short, 0, 0.0}); });
}

CardCommand parseFault(CommandArguments& arguments) {
  const unsigned port = arguments.port();
  const ChipModel::Fault fault = arguments.oneOf("FAULT", FAULT_WORDS);
  return changing([port, fault](Card& card) { card.chip.fault(port, fault); });
}

CardCommand parseClassError(CommandArguments& arguments) {
  const unsigned port = arguments.port();
  return changing([port](Card& card) { card.chip.classError(port); });
}

CardCommand parseTemperature(CommandArguments& arguments) {
  const double degrees = arguments.decimal("C", MIN_DEGREES_C, MAX_DEGREES_C);
  return changing([degrees](Card& card) { card.chip.temperature(degrees); });
}

CardCommand parseThermal(CommandArguments& arguments) {
  static constexpr Words<bool, 2> SWITCH = {{{"on", true}, {"off", false}}};
  const bool shutDown = arguments.oneOf("SWITCH", SWITCH);
  return changing([shutDown](Card& card) { card.chip.thermalShutdown(shutDown); });
}

CardCommand parseSupply(CommandArguments& arguments) {
  const double volts = arguments.decimal("VOLTS", 0.0, MAX_VOLTS);
  return changing([volts](Card& card) { card.chip.supply(volts); });
}

CardCommand parseBank(CommandArguments& arguments) {
  const unsigned bank = arguments.number("N", 0, MAX_BANK);
  return changing([bank](Card& card) { card.chip.activeBank(bank); });
}

CardCommand parsePowerCycle(CommandArguments& /*arguments*/) {
  return changing([](Card& card) { card.chip.powerCycle(); });
}

CardCommand parseBus(CommandArguments& arguments) {
  const std::string fault = arguments.word("FAULT");
  if (fault == "ok") {
    return changing([](Card& card) { card.bus.none(); });
  }
  if (fault == "dead") {
    return changing([](Card& card) { card.bus.dead(); });
  }
  if (fault == "fail") {
    const unsigned count = arguments.number("N", 1, MAX_TRANSFERS);
    return changing([count](Card& card) { card.bus.next(count); });
  }
  if (fault == "every") {
    const unsigned count = arguments.number("N", 1, MAX_TRANSFERS);
    return changing([count](Card& card) { card.bus.every(count); });
  }
  if (fault == "register") {
    const auto address = static_cast<std::uint8_t>(arguments.number("R", 0, 0xFF));
    return changing([address](Card& card) { card.bus.onRegister(address); });
  }
  if (fault == "late") {
    const std::chrono::milliseconds by(arguments.number("MS", 1, MAX_LATENESS_MS));
    return changing([by](Card& card) { card.bus.late(by); });
  }
  arguments.wrong("FAULT");
}

CardCommand parseReg(CommandArguments& arguments) {
  const auto address = static_cast<std::uint8_t>(arguments.number("ADDR", 0, data_sheet::LAST_REGISTER));
  if (!arguments.more()) {
    return describing([address](const Card& card) {
      return text::hexadecimal(address) + " " + text::hexadecimal(card.chip.reg(address)) + "\n";
    });
  }
  const auto value = static_cast<std::uint8_t>(arguments.number("VALUE", 0, 0xFF));
  return changing([address, value](Card& card) { card.chip.setReg(address, value); });
}

CardCommand parseDump(CommandArguments& /*arguments*/) {
  return describing([](const Card& card) {
    RegisterImage image;
    for (std::size_t address = 0; address < image.size(); ++address) {
      image.at(address) = card.chip.reg(static_cast<std::uint8_t>(address));
    }
    return writeRegisterDump(image);
  });
}

CardCommand parseLoad(CommandArguments& arguments) {
  const std::string file = arguments.word("FILE");
  try {
    const RegisterImage image = readRegisterDump(readTextFile(file, MAX_DUMP_BYTES));
    return changing([image](Card& card) { card.chip.load(image); });
  } catch (const RegisterDumpError& error) {
    throw CardCommandError(text::quoted(file) + ", " + error.what());
  } catch (const std::runtime_error& error) {
    throw CardCommandError(error.what());
  }
}

CardCommand parseShow(CommandArguments& /*arguments*/) {
  return describing(cardReport);
}

CardCommand parseHelp(CommandArguments& arguments);

struct Word {
  const char* name;
  CardCommand (*parse)(CommandArguments& arguments);
  const char* arguments;
  const char* ranges; // of the arguments; "" for none
  const char* purpose;

  std::string accepted() const {
    const std::string words = *arguments == '\0' ? name : std::string(name) + " " + arguments;
    return *ranges == '\0' ? words : words + " with " + ranges;
  }
};

constexpr Word WORDS[] = {
#define WORD(name, parse, arguments, ranges, purpose) {name, parse, arguments, ranges, purpose},
#include "simulator/card/card_words.def"
};

CardCommand parseHelp(CommandArguments& /*arguments*/) {
  return describing([](const Card& /*card*/) {
    std::string text;
    for (const Word& word : WORDS) {
      text += word.accepted() + ": " + word.purpose + "\n";
    }
    return text;
  });
}

} // namespace

CardCommand parseCardCommand(const std::string& line) {
  std::istringstream words(line);
  std::string name;
  if (!(words >> name)) {
    throw CardCommandError("there is no command; accepted are " + cardCommandNames());
  }
  for (const Word& word : WORDS) {
    if (name == word.name) {
      CommandArguments arguments(line, word.accepted());
      CardCommand command = word.parse(arguments);
      arguments.end();
      return command;
    }
  }
  throw CardCommandError(text::quoted(name) + " is not understood; accepted are " + cardCommandNames());
}

TimedCommand parseTimedCommand(const std::string& text) {
  std::istringstream words(text);
  std::string first;
  words >> first;
  std::chrono::nanoseconds at{0};
  std::string line = text;
  // No command begins with anything but a letter.
  if (!first.empty() && std::isalpha(static_cast<unsigned char>(first.front())) == 0) {
    CommandArguments time("at " + first, "[SECONDS] COMMAND with SECONDS 0 to 1000000");
    const std::chrono::duration<double> seconds(time.decimal("SECONDS", 0.0, MAX_SECONDS));
    at = std::chrono::round<std::chrono::nanoseconds>(seconds);
    line.clear();
    std::getline(words >> std::ws, line);
  }
  CardCommand command = parseCardCommand(line);
  if (command.describes) {
    throw CardCommandError("the reply to " + text::quoted(line) +
                           " would be lost; accepted are the commands that change the card");
  }
  return {at, std::move(command)};
}

std::string cardCommandNames() {
  std::string names = WORDS[0].name;
  for (std::size_t i = 1; i < std::size(WORDS); ++i) {
    names += (i + 1 < std::size(WORDS) ? ", " : " and ") + std::string(WORDS[i].name);
  }
  return names;
}
