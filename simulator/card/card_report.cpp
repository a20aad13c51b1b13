#include "simulator/card/card_report.h"

#include "simulator/chip/chip_words.h"

#include <sstream>

std::string cardReport(const Card& card) {
  const ChipModel& chip = card.chip;
  std::ostringstream text;
  for (unsigned port = 0; port < ChipModel::PORTS; ++port) {
    const ChipModel::Device& device = chip.device(port);
    text << "port " << port << ": device=" << wordOf(device.signature, SIGNATURE_WORDS)
         << " class=" << device.pdClass << " watts=" << device.watts
         << " phase=" << wordOf(chip.phase(port), PHASE_WORDS)
         << " fault=" << wordOf(chip.fault(port), FAULT_WORDS)
         << " class-error=" << (chip.classErrorPending(port) ? "pending" : "none") << "\n";
  }
  text << "supply=" << chip.supply() << "\n"
       << "minimum-supply=" << chip.minimumSupply() << "\n"
       << "temperature=" << chip.temperature() << "\n"
       << "thermal=" << (chip.thermalShutdown() ? "on" : "off") << "\n"
       << "bank=" << chip.activeBank() << "\n"
       << "bank-limit=" << chip.bankLimit() << "\n"
       << "consumption=" << chip.consumption() << "\n"
       << "present=" << (chip.present() ? "yes" : "no") << "\n"
       << "bus=" << card.bus.text() << "\n"
       << "unknown-registers=" << card.accesses.unknownRegisters() << "\n"
       << "read-only-writes=" << card.accesses.readOnlyWrites() << "\n";
  return text.str();
}
