// The faults of the I2C bus: which transfers fail, or that all are late. One kind of fault at a time; a
// new one takes the place of the old. Not for use from two threads at once.
#pragma once

#include <chrono>
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
  // Each transfer is answered so much later, 1 ms or more, and does not fail.
  void late(std::chrono::milliseconds by) { set(Kind::Late, static_cast<unsigned>(by.count())); }

  // Whether the transfer that is made now fails. Called once for each transfer.
  bool fails(std::uint8_t address);
  // 0: at once.
  std::chrono::milliseconds lateness() const {
    return std::chrono::milliseconds(m_kind == Kind::Late ? m_number : 0);
  }
  bool isDead() const { return m_kind == Kind::Dead; }
  // As the command that sets it: "ok", "dead", "fail 2" (those to come), "every 5",
  // "register 0x43", "late 1000".
  std::string text() const;

private:
  enum class Kind { None, Dead, Next, Every, Register, Late };

  void set(Kind kind, unsigned number);

  Kind m_kind = Kind::None;
  unsigned m_number = 0;
  unsigned m_made = 0; // transfers since the last one that failed
};
