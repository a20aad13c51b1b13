// What the engine is to do, written down a second time and simpler, to compare the engine with. The driver is
// the DriverModel in it; of the service it shares the records of the messages only.
//
// Every operation appends what the engine is to log to `driver.log`, and what it is to call and to send to
// `calls` and `messages`, in the form of PosixDoubles.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "tests/support/model/driver_model.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

class EngineModel {
public:
  void construct(const std::vector<int>& openErrors, const std::vector<int>& bindErrors);
  void setUp();
  void cycle();
  void endRun() { isActive = false; }

  void handleConfig(const PoeConfig& config);
  void applyConfig(const PoeConfig& config, bool force);
  bool configurePort(unsigned port, const PoePortConfig& config);
  void checkChip();
  void audit();
  bool pollPort(unsigned port);
  void updateOperStatus();
  bool sendStatus();

  // Replies of the console.
  std::string info();
  std::string device() const;
  std::string channel(unsigned port) const;
  std::string poePort(unsigned port);
  std::string readRegister(unsigned address);
  std::string writeRegister(unsigned address, unsigned value);

  // errno of the calls to come; 0: they succeed.
  int openError = 0;
  int sendError = 0;

  DriverModel driver;
  std::vector<std::string> calls;
  std::vector<std::vector<std::uint8_t>> messages;

  bool isActive = false;
  PoeStatus status{};
  PoeConfig stored{};
  bool isStored = false;
  ModelPower power{};
  ModelDevice chip{};
  std::array<ModelChannel, 4> channels{};
  ModelCounts previousCounts{};

private:
  void readPower();
  void readDevice();
  void readCounts();
  unsigned operStatusOf(unsigned port) const;
  std::vector<unsigned> portsToRestart() const;
};
