// What the chip driver is to do, written down a second time and simpler, to compare the driver with: the same
// operations on the same answers of the bus, with literal addresses and texts. Shares nothing with the
// driver.
//
// Every operation returns the driver's result and appends the log lines to `log`. Ports are 0 to 3; the
// setters also take 127 for all of them.
#pragma once

#include "tests/support/doubles/log_capture.h"
#include "tests/support/model/recorded_bus.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

struct ModelChannel {
  bool enable;
  bool powerGood;
  unsigned detection;
  unsigned classification;
  bool fetError;
  bool overTemperature;
  bool inPowerManagement;
  bool passedCapacitorDetection;
  bool detectionFailed;
};

struct ModelMeasurements {
  unsigned mainVoltage; // dV
  unsigned portVoltage; // dV
  unsigned current;     // mA
  unsigned power;       // W
};

struct ModelDevice {
  int mode;
  bool error;
  unsigned errorCount;
  unsigned id;
  unsigned revision;
  int temperature;
  bool thermalShutdown;
};

struct ModelPower {
  unsigned consumption;     // W
  unsigned bank;            // as read
  unsigned limit;           // W
  unsigned mainVoltage;     // dV
  unsigned shutdownVoltage; // dV
};

// Raw counts by port, in the order of the registers 0x77 to 0x7C.
using ModelCounts = std::array<std::array<unsigned, 6>, 4>;

class DriverModel {
public:
  // The descriptor, or -1 when the open fails with the errno values, one for each try.
  void open(const std::vector<int>& openErrors, const std::vector<int>& bindErrors);

  bool write(unsigned address, unsigned value);
  bool read(unsigned address, unsigned* value);
  bool read16(unsigned address, unsigned* value);
  std::string info() const;

  bool setDefaultConfiguration();
  bool setMode(unsigned c, unsigned mode);
  bool setDetectionClassification(unsigned c, unsigned enable);
  bool setDisconnect(unsigned c, unsigned value);
  bool setMidspan(unsigned c, unsigned enable);
  bool setTlim(unsigned c, unsigned milliseconds);
  bool setHighPower(unsigned c, unsigned enable, unsigned bit0, unsigned bit1, unsigned icut,
                    unsigned limMode);
  bool setPriority(unsigned c, unsigned priority);
  bool setPowerLimit(unsigned c, unsigned pw, unsigned tpw);
  bool setBankLimit(unsigned bank, unsigned watts);
  bool setStaticCalculation(bool isStatic);
  bool resetPorts(unsigned bits);

  bool getChannel(unsigned port, ModelChannel* channel);
  bool getCounts(ModelCounts* counts);
  bool getMeasurements(unsigned port, ModelMeasurements* figures);
  bool getPriority(unsigned port, unsigned* priority);
  bool getPowerLimits(unsigned port, unsigned* pw, unsigned* tpw);
  bool getMode(unsigned port, unsigned* mode);
  bool getDevice(ModelDevice* device);
  bool getPower(ModelPower* power);
  bool getBank(unsigned* bank);
  bool getBankLimit(unsigned bank, unsigned* watts);
  bool getStaticCalculation(bool* isStatic);

  RecordedBus bus;
  LogLines log;
  int descriptor = -1;
  bool error = false;
  unsigned errorCount = 0;
  int mode = 0; // 0 idle, 1 normal, 255 failed

private:
  void report(int line, const std::string& message);
  bool finish(bool good, int line, unsigned address);
  bool update(unsigned address, unsigned mask, unsigned bits);
  // Reports a port that does not exist, or a value that is not good.
  bool rejected(unsigned c, int line, const std::string& message, bool isValueGood = true);
  // Calls `take` with what is read, unless the read fails.
  template <typename Take>
  bool readTo(unsigned address, Take take);
  template <typename Take>
  bool read16To(unsigned address, Take take);
  bool highPowerPort(unsigned port, unsigned enable, unsigned modeBits, unsigned icut, unsigned limMode);
};
