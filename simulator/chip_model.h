// A PD69104 with its four ports and what is plugged into them, for any machine.
//
// Modelled: every register that the card's software uses; detection,
// classification and power-up in simulated time; measurements that agree with
// each other; power management by class, port limit and the limit of the active
// bank; overload, under-load and short; the two-bit event counters; port reset,
// power cycle, temperature, thermal shutdown, a chip that is not there.
//
// Guessed: how long each step takes and when a port is tried again (that the
// status is kept meanwhile, and every denial counted); that power is granted by
// what the device draws; that a cut for want of bank power takes the lowest
// priority, then the highest port number, and counts as power denied; the power
// per class (class 4 gets more only while its high power enable is set); that a
// short found by detection is an invalid signature, and the short count is for a
// powered port; that a port reset keeps the configuration and the counters; that
// writing a read-only register is acknowledged and ignored; power-on values.
//
// Left out: static against dynamic calculation, temporary port limits, cutting a
// low priority port so that a higher one can start, current cut and current
// limit, disconnect enable, midspan, the least draw that keeps a port powered:
// their registers hold what is written. Class errors, FET errors, MOSFET
// over-temperature, in-PM-mode, a supply that changes: theirs keep what they have.
//
// Time passes in advance() only. Not for use from two threads at once.
#pragma once

#include "simulator/chip_registers.h"

#include <array>
#include <cstdint>

class ChipModel {
public:
  static constexpr unsigned PORTS = 4;

  enum class Phase { Off, Detecting, Classifying, PoweringUp, Delivering, Waiting };
  enum class Signature { None, Short, CapacitanceTooHigh, ResistanceTooLow, Good, ResistanceTooHigh };

  struct Device {
    Signature signature = Signature::Good;
    unsigned pdClass = 0; // 0..4
    double watts = 5.0;   // drawn as soon as the port is powered, 0 or more
  };

  ChipModel();

  // Bus side. False: not acknowledged, because there is no such register (above
  // 0xCE) or the chip is not present.
  bool read(std::uint8_t address, std::uint8_t* value) const;
  bool write(std::uint8_t address, std::uint8_t value);

  // Test side. Ports are 0..3.

  // Plugging into an occupied port replaces the device; on a powered port that
  // is an under-load event, or a short if the new device is one.
  void plug(unsigned port, const Device& device);
  void unplug(unsigned port);
  void draw(unsigned port, double watts);
  // All registers as after power-on. What is plugged stays plugged.
  void powerCycle();
  void setPresent(bool present) { m_present = present; }
  void advance(double seconds);
  void temperature(double degreesC);
  // All ports are off for as long as it is on.
  void thermalShutdown(bool on);

  // A look at a register, and a value put into it past all access rules. A forced
  // value stays until the chip itself next writes that register.
  std::uint8_t reg(std::uint8_t address) const { return m_registers.at(address); }
  void setReg(std::uint8_t address, std::uint8_t value) { m_registers.at(address) = value; }

  // What the world and the ports are like.
  const Device& device(unsigned port) const { return m_ports.at(port).device; }
  Phase phase(unsigned port) const { return m_ports.at(port).phase; }
  bool present() const { return m_present; }
  double temperature() const { return m_degreesC; }
  bool thermalShutdown() const { return m_thermalShutdown; }
  double bankLimit() const; // W, of the active bank

private:
  // First register of each set of event counters, two bits a port.
  enum class Event : std::uint8_t {
    InvalidSignature = 0x77,
    PowerDenied = 0x78,
    Overload = 0x79,
    UnderLoad = 0x7A,
    Short = 0x7B,
  };

  struct Port {
    Device device{Signature::None, 0, 0.0};
    Phase phase = Phase::Off;
    std::int64_t left = 0; // ns to the end of the phase; Off and Delivering have none
  };

  // Register image (chip_model.cpp).
  unsigned field(unsigned address, unsigned mask, unsigned shift) const;
  void setField(unsigned address, unsigned mask, unsigned shift, unsigned value);
  void setWord(unsigned address, unsigned value);
  unsigned word(unsigned address) const;
  void publishEnvironment();

  // Ports (chip_ports.cpp).
  bool switchedOn(unsigned port) const;
  void settle();
  void enter(unsigned port, Phase phase);
  void endPhase(unsigned port);
  void endDetection(unsigned port);
  void switchOff(unsigned port);
  void restart(unsigned port);
  void count(Event event, unsigned port);
  void publishDetection(unsigned port, unsigned detection, unsigned classCode, bool failed);
  void publishPower(unsigned port);

  // Power management (chip_power.cpp).
  double allowance(unsigned port) const;
  double delivered() const;
  unsigned priority(unsigned port) const;
  bool granted(unsigned port) const;
  void enforceLimits();
  unsigned leastImportantDelivering() const;

  std::array<std::uint8_t, LAST_REGISTER + 1> m_registers{};
  std::array<Port, PORTS> m_ports{};
  bool m_present = true;
  bool m_thermalShutdown = false;
  double m_degreesC = 40.0;
};
