#include "simulator/card/card_report.h"

#include "simulator/card/card_command.h"

#include <array>
#include <sstream>

namespace {

const char* name(ChipModel::Signature signature) {
  static constexpr std::array<const char*, 6> NAMES = {"none", "short", "capacitance", "low", "good", "high"};
  return NAMES.at(static_cast<std::size_t>(signature));
}

const char* name(ChipModel::Phase phase) {
  static constexpr std::array<const char*, 6> NAMES = {"off",         "detecting",  "classifying",
                                                       "powering-up", "delivering", "waiting"};
  return NAMES.at(static_cast<std::size_t>(phase));
}

const char* name(ChipModel::Fault fault) {
  static constexpr std::array<const char*, 3> NAMES = {"none", "fet", "overtemperature"};
  return NAMES.at(static_cast<std::size_t>(fault));
}

} // namespace

std::string cardReport(const Card& card) {
  const ChipModel& chip = card.chip;
  std::ostringstream text;
  for (unsigned port = 0; port < ChipModel::PORTS; ++port) {
    const ChipModel::Device& device = chip.device(port);
    text << "port " << port << ": device=" << name(device.signature) << " class=" << device.pdClass
         << " watts=" << device.watts << " phase=" << name(chip.phase(port))
         << " fault=" << name(chip.fault(port))
         << " class-error=" << (chip.classErrorPending(port) ? "pending" : "none") << "\n";
  }
  text << "supply=" << chip.supply() << "\n"
       << "minimum-supply=" << chip.minimumSupply() << "\n";
  text << "temperature=" << chip.temperature() << "\n"
       << "thermal=" << (chip.thermalShutdown() ? "on" : "off") << "\n"
       << "bank=" << chip.activeBank() << "\n"
       << "bank-limit=" << chip.bankLimit() << "\n"
       << "consumption=" << unsigned{chip.reg(0x96)} << "\n"
       << "present=" << (chip.present() ? "yes" : "no") << "\n"
       << "bus=" << card.bus.text() << "\n";
  return text.str();
}
