#include "simulator/chip/chip_registers.h"

namespace {

constexpr auto RW = RegisterFamily::Access::ReadWrite;
constexpr auto RO = RegisterFamily::Access::ReadOnly;
constexpr auto CMD = RegisterFamily::Access::Command;

// In the order of the first address. The power-on values of the limits, of the
// current cut and of the identification are guesses; bank 7's limit (0x90) must
// not be 0, which is how a freshly powered chip is told from a configured one.
constexpr RegisterFamily FAMILIES[] = {
    {0x0C, 4, 1, RO, 0x00, "port status"},
    {0x10, 1, 1, RO, 0x00, "power status"},
    {0x12, 1, 1, RW, 0x00, "operating mode"},
    {0x13, 1, 1, RW, 0x00, "disconnect enable"},
    {0x14, 1, 1, RW, 0x00, "detection and classification enable"},
    {0x15, 1, 1, RW, 0x00, "midspan"},
    {0x1A, 1, 1, CMD, 0x00, "port reset"},
    {0x1E, 2, 1, RW, 0x00, "current limit timer"},
    {0x30, 4, 4, RO, 0x00, "port current, low byte"},
    {0x31, 4, 4, RO, 0x00, "port current, high byte"},
    {0x32, 4, 4, RO, 0x00, "port voltage, low byte"},
    {0x33, 4, 4, RO, 0x00, "port voltage, high byte"},
    {0x42, 1, 1, RO, 0x00, "thermal shutdown"},
    {0x43, 1, 1, RO, 0x41, "device id and revision"},
    {0x44, 1, 1, RW, 0x00, "high power enable"},
    {0x46, 4, 5, RW, 0x00, "high power mode"},
    {0x47, 4, 5, RW, 0xD4, "current cut"},
    {0x48, 4, 5, RW, 0xC0, "current limit"},
    {0x49, 4, 5, RO, 0x00, "high power status"},
    {0x70, 1, 1, RO, 0x00, "temperature"},
    {0x71, 1, 1, RO, 0x00, "main voltage, low byte"},
    {0x72, 1, 1, RO, 0x00, "main voltage, high byte"},
    {0x75, 2, 1, RO, 0x00, "port conditions"},
    {0x77, 1, 1, RO, 0x00, "invalid signature count"},
    {0x78, 1, 1, RO, 0x00, "power denied count"},
    {0x79, 1, 1, RO, 0x00, "overload count"},
    {0x7A, 1, 1, RO, 0x00, "under-load count"},
    {0x7B, 1, 1, RO, 0x00, "short count"},
    {0x7C, 1, 1, RO, 0x00, "class error count"},
    {0x7F, 1, 1, RW, 0x02, "power management calculation"},
    {0x80, 1, 1, RW, 0xAA, "port priority"},
    {0x81, 4, 1, RW, 0x0F, "port power limit"},
    {0x85, 4, 1, RW, 0x00, "temporary port power limit"},
    {0x89, 8, 1, RW, 0x90, "bank power limit"},
    {0x91, 1, 1, RO, 0x00, "active power bank"},
    {0x92, 4, 1, RO, 0x00, "port power consumption"},
    {0x96, 1, 1, RO, 0x00, "total power consumption"},
    {0xCB, 1, 1, RW, 0xED, "minimum shutdown voltage, low byte"},
    {0xCC, 1, 1, RW, 0x00, "minimum shutdown voltage, high byte"},
};

} // namespace

const RegisterFamily* findRegister(std::uint8_t address) {
  for (const RegisterFamily& family : FAMILIES) {
    const int distance = address - family.first;
    if (distance >= 0 && distance % family.stride == 0 && distance / family.stride < family.count) {
      return &family;
    }
  }
  return nullptr;
}
