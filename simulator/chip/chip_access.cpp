#include "simulator/chip/chip_access.h"

#include "simulator/chip/chip_registers.h"
#include "text/text.h"

ChipAccess readOf(std::uint8_t address) {
  return data_sheet::registerAt(address) == nullptr ? ChipAccess::UnknownRegister : ChipAccess::Regular;
}

ChipAccess writeOf(std::uint8_t address) {
  const data_sheet::Register* found = data_sheet::registerAt(address);
  if (found == nullptr) {
    return ChipAccess::UnknownRegister;
  }
  return found->access == data_sheet::Access::ReadOnly ? ChipAccess::ReadOnlyWrite : ChipAccess::Regular;
}

void AccessCounts::count(ChipAccess access, std::uint8_t address) {
  switch (access) {
  case ChipAccess::UnknownRegister:
    ++m_unknown[address];
    break;
  case ChipAccess::ReadOnlyWrite:
    ++m_readOnly[address];
    break;
  case ChipAccess::Regular:
    break;
  }
}

std::string AccessCounts::text(const Counts& counts) {
  unsigned total = 0;
  unsigned named = 0;
  std::string names;
  for (const auto& [address, count] : counts) {
    total += count;
    if (++named > MAX_NAMED) {
      continue;
    }
    const data_sheet::Register* found = data_sheet::registerAt(address);
    names += (named == 1 ? ": " : ", ") + text::hexadecimal(address) +
             (found == nullptr ? "" : std::string(" ") + found->name);
  }
  if (named > MAX_NAMED) {
    names += " and " + std::to_string(named - MAX_NAMED) + " more";
  }
  return std::to_string(total) + names;
}
