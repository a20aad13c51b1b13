// The faults of the I2C bus: which transfers fail. One kind of fault at a time; a
// new one takes the place of the old. Not for use from two threads at once.
#pragma once

#include <cstdint>
#include <string>

class BusFaults {
public:
  void none() { set(Kind::None, 0); }
  void dead() { set(Kind::Dead, 0); }
  // The next `count` transfers, 1 or more; then the bus is well again.
  void next(unsigned count) { set(Kind::Next, count); }
  // The `count`th transfer from now on and each `count`th after it, 1 or more.
  void every(unsigned count) { set(Kind::Every, count); }
  // Reads and writes of this register.
  void onRegister(std::uint8_t address) { set(Kind::Register, address); }

  // Whether the transfer that is made now fails. Called once for each transfer.
  bool fails(std::uint8_t address);
  // As the command that sets it: "ok", "dead", "fail 2" (those to come), "every 5",
  // "register 0x43".
  std::string text() const;

private:
  enum class Kind { None, Dead, Next, Every, Register };

  void set(Kind kind, unsigned number);

  Kind m_kind = Kind::None;
  unsigned m_number = 0;
  unsigned m_made = 0; // transfers since the last one that failed
};
