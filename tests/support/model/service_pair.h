// The engine and its model side by side: whatever is done to the one is done to the other, on the same
// answers of the bus, and everything that they leave behind is compared.
//
// The worker runs on the calling thread; the caller acts in the place of its sleep. One pair at a time.
#pragma once

#include "components/PoeDriver/pd69104_engine.h"
#include "tests/support/doubles/i2c_bus.h"
#include "tests/support/doubles/posix_doubles.h"
#include "tests/support/model/engine_model.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class ServicePair {
public:
  explicit ServicePair(BusDevice& device);
  ~ServicePair();
  ServicePair(const ServicePair&) = delete;
  ServicePair& operator=(const ServicePair&) = delete;

  // The errno values of the opens and binds to come, then the construction of engine and model.
  void construct(const std::vector<int>& openErrors = {}, const std::vector<int>& bindErrors = {});

  // Starts the worker; after each cycle `afterCycle` is called until it returns false.
  void run(const std::function<bool()>& afterCycle);

  // Each does the same to engine and model.
  void handleConfig(const PoeConfig& config);
  void applyConfig(const PoeConfig& config, bool force);
  void configurePort(unsigned port, const PoePortConfig& config);
  void checkChip();
  void audit();
  void pollPort(unsigned port);
  void updateOperStatus();
  void sendStatus();
  void setQueueErrors(int openError, int sendError);
  void reportCached(); // the console's device and channel reports
  void reportLive();   // its info, poeport and register commands, which read the chip
  void writeRegister(unsigned address, unsigned value); // its writeReg command

  // What has differed since the last call: transfers, log lines, queue calls, messages, results and replies.
  // Empty when nothing has.
  std::string takeDifferences();

  const PoeStatus& status() const { return model.status; }

  I2cBus bus;
  PosixDoubles posix;
  std::unique_ptr<CPD69104Engine> engine;
  EngineModel model;

private:
  void follow(const std::function<void()>& modelOperation);
  void compareRest();
  void note(const std::string& difference);
  void compareReply(const std::vector<const char*>& words, const std::function<std::string()>& expected);

  std::string m_differences;
};
