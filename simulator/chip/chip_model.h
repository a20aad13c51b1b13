// A PD69104 with its four ports and what is plugged into them, for any machine.
//
// Modelled:
// - every register that the card's software uses;
// - detection, classification and power-up in simulated time;
// - measurements that agree with each other;
// - power management by class, port limit, priority and the limit of the active bank;
// - overload, underload, short and class error, with the two-bit event counters;
// - FET error and MOSFET over-temperature of a port;
// - supply, minimum shutdown voltage, temperature and thermal shutdown;
// - port reset, power cycle, and a chip that is not there.
//
// Guessed:
// - How long each step takes, and the error delay before a port is tried again. The status stays as it is
//   during the error delay, and every denial counts.
// - Power is granted by what the PD draws. Load shedding, for want of bank power or for a port of higher
//   priority, takes the port of the lowest priority, then the highest port number, and counts as power
//   denied.
// - The power per class; class 4 gets more only while its high power enable is set. A PD draws the same
//   power at any voltage.
// - A short found by detection is an invalid signature; the short count is for a powered port. A class error
//   shows class code 7 and is tried again.
// - A port with a fault, and each port at too low a supply, is off and shows nothing.
// - A port reset keeps the configuration and the counters. A write to a read-only register is acknowledged
//   and ignored. Power-on values.
//
// Left out: static against dynamic calculation, temporary port limits, current cut and current limit,
// disconnect enable, midspan and the maintain power signature (MPS): their registers hold what is written.
// The in-PM-mode and capacitor detection bits of each port keep what they have.
//
// Time passes in advance() only. Not for use from two threads at once.
#pragma once

#include "simulator/chip/chip_registers.h"

#include <array>
#include <cstdint>

class ChipModel {
public:
  static constexpr unsigned PORTS = data_sheet::PORTS;

  enum class Phase { Off, Detecting, Classifying, PoweringUp, Delivering, ErrorDelay };
  enum class Fault { None, Fet, OverTemperature };
  using Signature = data_sheet::Detection; // Short to OpenCircuit

  struct Device {
    Signature signature = Signature::Good;
    unsigned pdClass = 0; // 0..4
    double watts = 5.0;   // drawn as soon as the port is powered, 0 or more
  };

  ChipModel();

  // Bus side. False: not acknowledged, because there is no such register (above 0xCE) or the chip is not
  // present.
  bool read(std::uint8_t address, std::uint8_t* value) const;
  bool write(std::uint8_t address, std::uint8_t value);

  // Test side. Ports are 0..3.

  // Plugging into an occupied port replaces the device; on a powered port that is an underload, or a short if
  // the new device is one.
  void plug(unsigned port, const Device& device);
  void unplug(unsigned port);
  void draw(unsigned port, double watts); // 0 or more
  // Keeps the port off until it is mended.
  void fault(unsigned port, Fault fault);
  // The port's next classification fails.
  void classError(unsigned port);
  // All registers as after power-on. The environment stays as it is: what is plugged, faults, supply,
  // temperature, bank.
  void powerCycle();
  void setPresent(bool present) { m_present = present; }
  void advance(double seconds);
  void temperature(double degreesC);
  // All ports are off for as long as it is on.
  void thermalShutdown(bool on);
  // All ports are off below the minimum shutdown voltage (0xCB), and below 30 V.
  void supply(double volts);      // 0 to 100
  void activeBank(unsigned bank); // 0 to 15; the limit is that of bank modulo 8

  // A look at a register, and a value put into it past all access rules. A forced value stays until the chip
  // itself next writes that register.
  std::uint8_t reg(std::uint8_t address) const { return m_registers.at(address); }
  void setReg(std::uint8_t address, std::uint8_t value) { m_registers.at(address) = value; }
  // Puts all values of the image into the registers and takes up the environment that they show: devices and
  // what they draw, faults, supply, temperature, bank.
  void load(const RegisterImage& image);

  // The environment and the ports as they are.
  const Device& device(unsigned port) const { return m_ports.at(port).device; }
  Phase phase(unsigned port) const { return m_ports.at(port).phase; }
  Fault fault(unsigned port) const { return m_ports.at(port).fault; }
  bool classErrorPending(unsigned port) const { return m_ports.at(port).classErrorPending; }
  bool present() const { return m_present; }
  double supply() const { return m_volts; }
  double minimumSupply() const; // V, the minimum shutdown voltage
  unsigned activeBank() const { return get(data_sheet::ACTIVE_BANK); }
  double temperature() const { return m_degreesC; }
  bool thermalShutdown() const { return m_thermalShutdown; }
  double bankLimit() const;                                                     // W, of the active bank
  unsigned consumption() const { return get(data_sheet::TOTAL_CONSUMPTION_W); } // W, of all ports

private:
  struct Port {
    Device device{Signature::OpenCircuit, 0, 0.0};
    Phase phase = Phase::Off;
    std::int64_t left = 0; // ns to the end of the phase; Off and Delivering have none
    Fault fault = Fault::None;
    bool classErrorPending = false;
  };

  using EventCount = data_sheet::PortField<unsigned>;

  // Fields of the registers.
  template <typename Value>
  Value get(const data_sheet::Field<Value>& field) const {
    return field.in(m_registers.at(field.address));
  }
  template <typename Value>
  void set(const data_sheet::Field<Value>& field, Value value) {
    std::uint8_t& contents = m_registers.at(field.address);
    contents = field.put(contents, value);
  }
  unsigned get(const data_sheet::Word& word) const;
  void set(const data_sheet::Word& word, unsigned value);
  double measured(const data_sheet::Word& word) const { return get(word) * word.unit; }
  double shownWatts(unsigned port) const;

  // The environment (chip_environment.cpp).
  void publishEnvironment();
  bool supplied() const;
  void takeUpEnvironment();
  void takeUpPort(unsigned port);

  // Ports (chip_ports.cpp).
  bool switchedOn(unsigned port) const;
  void settle();
  void enter(unsigned port, Phase phase);
  void endPhase(unsigned port);
  void endDetection(unsigned port);
  void endClassification(unsigned port);
  void switchOff(unsigned port);
  void restart(unsigned port);
  void count(const EventCount& events, unsigned port);
  void publishDetection(unsigned port, data_sheet::Detection detection,
                        data_sheet::Classification classification, bool failed);
  void publishPower(unsigned port);

  // Power management (chip_power.cpp).
  double allowance(unsigned port) const;
  double delivered(unsigned leastPriority) const;
  unsigned priority(unsigned port) const;
  bool grant(unsigned port);
  void shedLeastImportant();
  void enforceLimits();

  std::array<std::uint8_t, data_sheet::LAST_REGISTER + 1> m_registers{};
  std::array<Port, PORTS> m_ports{};
  bool m_present = true;
  bool m_thermalShutdown = false;
  double m_degreesC = 40.0;
  double m_volts = 54.0;
  unsigned m_bank = 0;
};
