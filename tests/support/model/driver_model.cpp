#include "tests/support/model/driver_model.h"

#include "text/text.h"

#include <cerrno>
#include <cmath>
#include <cstring>

namespace {

using text::formatted;

// Does `set` for each port that an argument of a setter stands for, also after one that fails.
template <typename Set>
bool setPorts(unsigned c, Set set) {
  bool good = true;
  for (unsigned port = 0; port < 4; port++) {
    good = ((c != 127 && c != port) || set(port)) && good;
  }
  return good;
}

// The errno with which a call fails that is made again after EINTR; 0 when it succeeds in the end.
int finalError(const std::vector<int>& errors) {
  for (const int error : errors) {
    if (error != EINTR) {
      return error;
    }
  }
  return 0;
}

unsigned rounded(double value) {
  return static_cast<unsigned>(std::floor(value + 0.5)); // never negative here
}

unsigned deciVolts(unsigned raw) {
  return rounded(raw * 5.835 / 100.0);
}

} // namespace

void DriverModel::report(int line, const std::string& message) {
  log.push_back({3, formatted("SWERR ERROR DETECTED: components/PoeDriver/pd69104 %d ", line)});
  log.push_back({3, message});
}

void DriverModel::open(const std::vector<int>& openErrors, const std::vector<int>& bindErrors) {
  error = false;
  errorCount = 0;
  mode = 0;
  descriptor = -1;
  if (const int openError = finalError(openErrors); openError != 0) {
    report(294, formatted("Cannot open I2C driver /dev/i2c-0: %s\n", strerror(openError)));
    error = true;
    errorCount = 1;
    return;
  }
  descriptor = I2cBus::DESCRIPTOR;
  if (const int bindError = finalError(bindErrors); bindError != 0) {
    report(306, formatted("Cannot access I2C driver: %s\n", strerror(bindError)));
    error = true;
    errorCount = 1;
  }
}

bool DriverModel::finish(bool good, int line, unsigned address) {
  if (good) {
    error = false;
    return true;
  }
  if (!error) {
    report(line, formatted("Failed reading device at address 0x%x\n", address));
    errorCount++;
    mode = 0;
    error = true;
  }
  return false;
}

bool DriverModel::write(unsigned address, unsigned value) {
  if (address > 0xCE) {
    report(2142, formatted("Range Error [address=0x%x]\n", address));
    return false;
  }
  return finish(descriptor >= 0 && bus.write(address, value & 0xFF), 2154, address);
}

bool DriverModel::read(unsigned address, unsigned* value) {
  return finish(descriptor >= 0 && bus.read(address, value), 2215, address);
}

bool DriverModel::read16(unsigned address, unsigned* value) {
  unsigned low = 0;
  unsigned high = 0;
  const bool lowGood = descriptor >= 0 && bus.read(address, &low);
  const bool highGood = descriptor >= 0 && bus.read((address + 1) & 0xFF, &high);
  if (lowGood && highGood) {
    *value = low + 256 * high;
  }
  return finish(lowGood && highGood, 2278, address);
}

std::string DriverModel::info() const {
  const char* modes[] = {"IDLE", "NORMAL", "SELFTEST"};
  return formatted("==============\nPD69104 DRIVER\n==============\n"
                   "m_HwOperationMode       : %s\n\n"
                   "m_i2c_filename          : /dev/i2c-0\n"
                   "m_i2c_adapter_nr        : 0\n"
                   "m_i2c_file              : %d\n"
                   "m_poeError              : %s\n"
                   "m_poeErrorCount         : %u\n",
                   modes[mode], descriptor, error ? "TRUE" : "FALSE", errorCount);
}

bool DriverModel::rejected(unsigned c, int line, const std::string& message, bool isValueGood) {
  if ((c <= 3 || c == 127) && isValueGood) {
    return false;
  }
  report(line, message);
  return true;
}

bool DriverModel::update(unsigned address, unsigned mask, unsigned bits) {
  unsigned old = 0;
  return read(address, &old) && write(address, (old & ~mask) | (bits & mask));
}

bool DriverModel::setDefaultConfiguration() {
  log.push_back({6, "POE now setting default configuration\n"});
  bool good = true;
  for (unsigned port = 0; port < 4; port++) {
    good = setMode(port, 0) && good;
  }
  for (unsigned bank = 0; bank < 8; bank++) {
    good = setBankLimit(bank, 0) && good;
  }
  if (good) {
    mode = 1;
  }
  return good;
}

bool DriverModel::setMode(unsigned c, unsigned newMode) {
  if (rejected(c, 638, formatted("Range Error [4:%d]\n", c))) {
    return false;
  }
  return setPorts(c, [&](unsigned port) { return update(0x12, 3U << 2 * port, newMode << 2 * port); });
}

bool DriverModel::setDetectionClassification(unsigned c, unsigned enable) {
  if (rejected(c, 1212, formatted("Range Error [c=4:%d ]\n", c))) {
    return false;
  }
  return setPorts(c,
                  [&](unsigned port) { return update(0x14, 0x11U << port, (enable & 1) * 0x11U << port); });
}

bool DriverModel::setDisconnect(unsigned c, unsigned value) {
  if (rejected(c, 868, formatted("Range Error [c=4:%d ]\n", c))) {
    return false;
  }
  return setPorts(c, [&](unsigned port) { return update(0x13, 1U << port, (value & 1) << port); });
}

bool DriverModel::setMidspan(unsigned c, unsigned enable) {
  if (rejected(c, 940, formatted("Range Error [c=4:%d ]\n", c))) {
    return false;
  }
  return setPorts(c, [&](unsigned port) { return update(0x15, 1U << port, (enable & 1) << port); });
}

bool DriverModel::setTlim(unsigned c, unsigned milliseconds) {
  if (rejected(c, 1011, formatted("Range Error [c=4:%d ]\n", c))) {
    return false;
  }
  // 1.71 ms a step, to the nearest; 26 ms and more are the 15 steps that fit.
  const unsigned steps =
      milliseconds >= 26 ? 15 : static_cast<unsigned>(std::floor((milliseconds + 0.855) / 1.71));
  return setPorts(c, [&](unsigned port) {
    const bool isUpper = port == 1 || port == 3;
    return update(port < 2 ? 0x1E : 0x1F, isUpper ? 0xF0 : 0x0F, isUpper ? steps * 16 : steps);
  });
}

bool DriverModel::highPowerPort(unsigned port, unsigned enable, unsigned modeBits, unsigned icut,
                                unsigned limMode) {
  bool good = update(0x44, 1U << port, enable << port);
  good = update(0x46 + 5 * port, 3, modeBits) && good;
  unsigned cut = 0;
  if (icut > 1181) {
    unsigned steps = static_cast<unsigned>((icut + 18.75) / 37.5);
    if (steps > 63) {
      report(1148, formatted("Range Error: Icut too large, truncated [Icut=%d ]\n", icut));
      steps = 63;
    }
    cut = 0x80 | steps;
  } else {
    cut = 0xC0 | static_cast<unsigned>((icut + 9.375) / 18.75);
  }
  good = write(0x47 + 5 * port, cut) && good;
  if (limMode > 1) {
    report(1167, formatted("Illegal mode [0x%x]\n", limMode));
    return false;
  }
  return write(0x48 + 5 * port, limMode == 1 ? 0x80 : 0xC0) && good;
}

bool DriverModel::setHighPower(unsigned c, unsigned enable, unsigned bit0, unsigned bit1, unsigned icut,
                               unsigned limMode) {
  if (rejected(c, 1099, formatted("Range Error [c=4:%d ]\n", c))) {
    return false;
  }
  return setPorts(c, [&](unsigned port) {
    return highPowerPort(port, enable & 1, (bit0 & 1) + 2 * (bit1 & 1), icut, limMode);
  });
}

bool DriverModel::setPriority(unsigned c, unsigned priority) {
  const std::string message = formatted("Range Error [c=4:%d pr=%d]\n", c, priority);
  if (rejected(c, 786, message, priority >= 1 && priority <= 3)) {
    return false;
  }
  return setPorts(c, [&](unsigned port) { return update(0x80, 3U << 2 * port, (priority - 1) << 2 * port); });
}

bool DriverModel::setPowerLimit(unsigned c, unsigned pw, unsigned tpw) {
  const std::string message = formatted("Range Error [c=4:%d pw=40000:%d tpw=40000:%d]\n", c, pw, tpw);
  if (rejected(c, 718, message, pw <= 40000 && tpw <= 40000)) {
    return false;
  }
  return setPorts(c, [&](unsigned port) {
    const bool good = write(0x81 + port, pw / 1000);
    return write(0x85 + port, tpw / 1000) && good;
  });
}

bool DriverModel::setBankLimit(unsigned bank, unsigned watts) {
  if (bank > 7 || watts > 255) {
    report(539, formatted("Range Error [bank=%d powerLimit=%d]\n", bank, watts));
    return false;
  }
  return write(0x89 + bank, watts);
}

bool DriverModel::setStaticCalculation(bool isStatic) {
  return update(0x7F, 2, isStatic ? 0 : 2);
}

bool DriverModel::resetPorts(unsigned bits) {
  log.push_back({6, formatted("PoeResetPorts resetBits=0x%x\n", bits)});
  return write(0x1A, bits & 0x0F);
}

template <typename Take>
bool DriverModel::readTo(unsigned address, Take take) {
  unsigned value = 0;
  const bool good = read(address, &value);
  if (good) {
    take(value);
  }
  return good;
}

template <typename Take>
bool DriverModel::read16To(unsigned address, Take take) {
  unsigned value = 0;
  const bool good = read16(address, &value);
  if (good) {
    take(value);
  }
  return good;
}

bool DriverModel::getChannel(unsigned port, ModelChannel* channel) {
  bool good = readTo(0x10, [&](unsigned value) {
    channel->enable = (value >> port & 1) != 0;
    channel->powerGood = (value >> (port + 4) & 1) != 0;
  });
  good &= readTo(0x0C + port, [&](unsigned value) {
    channel->detection = value & 7;
    channel->classification = value >> 4 & 7;
  });
  good &= readTo(0x49 + 5 * port, [&](unsigned value) { channel->fetError = (value & 2) != 0; });
  good &= readTo(port < 2 ? 0x75 : 0x76, [&](unsigned value) {
    const unsigned nibble = port % 2 == 0 ? value & 15 : value >> 4;
    channel->overTemperature = (nibble & 1) != 0;
    channel->inPowerManagement = (nibble & 2) != 0;
    channel->passedCapacitorDetection = (nibble & 4) != 0;
    channel->detectionFailed = (nibble & 8) != 0;
  });
  return good;
}

bool DriverModel::getCounts(ModelCounts* counts) {
  bool good = true;
  for (unsigned kind = 0; kind < 6; kind++) {
    unsigned value = 0;
    if (!read(0x77 + kind, &value)) {
      good = false;
      continue;
    }
    for (unsigned port = 0; port < 4; port++) {
      counts->at(port).at(kind) = value >> 2 * port & 3;
    }
  }
  return good;
}

bool DriverModel::getMeasurements(unsigned port, ModelMeasurements* figures) {
  bool good = read16To(0x71, [&](unsigned raw) { figures->mainVoltage = deciVolts(raw); });
  good &= read16To(0x32 + 4 * port, [&](unsigned raw) { figures->portVoltage = deciVolts(raw); });
  good &= read16To(0x30 + 4 * port, [&](unsigned raw) { figures->current = rounded(raw * 122.07 / 1000.0); });
  good &= read(0x92 + port, &figures->power);
  return good;
}

bool DriverModel::getPriority(unsigned port, unsigned* priority) {
  return readTo(0x80, [&](unsigned value) { *priority = value >> 2 * port & 3; });
}

bool DriverModel::getPowerLimits(unsigned port, unsigned* pw, unsigned* tpw) {
  const bool good = readTo(0x81 + port, [&](unsigned value) { *pw = value & 63; });
  return readTo(0x85 + port, [&](unsigned value) { *tpw = value & 63; }) && good;
}

bool DriverModel::getMode(unsigned port, unsigned* portMode) {
  return readTo(0x12, [&](unsigned value) { *portMode = value >> 2 * port & 3; });
}

bool DriverModel::getDevice(ModelDevice* device) {
  bool good = readTo(0x43, [&](unsigned value) {
    device->id = value >> 5;
    device->revision = value & 7;
  });
  device->temperature = 0;
  good &= readTo(0x70, [&](unsigned value) { device->temperature = static_cast<int>(value * 0.96) - 27; });
  good &= readTo(0x42, [&](unsigned value) { device->thermalShutdown = value >= 0x80; });
  device->mode = mode;
  device->error = error;
  device->errorCount = errorCount;
  return good;
}

bool DriverModel::getBank(unsigned* bank) {
  return readTo(0x91, [&](unsigned value) { *bank = value >> 3 & 15; });
}

bool DriverModel::getBankLimit(unsigned bank, unsigned* watts) {
  return read(0x89 + bank, watts);
}

bool DriverModel::getStaticCalculation(bool* isStatic) {
  return readTo(0x7F, [&](unsigned value) { *isStatic = (value & 2) == 0; });
}

bool DriverModel::getPower(ModelPower* power) {
  bool good = read(0x96, &power->consumption);
  getBank(&power->bank); // its failure does not count
  good &= read(0x89 + (power->bank & 7), &power->limit);
  good &= read16To(0x71, [&](unsigned raw) { power->mainVoltage = deciVolts(raw); });
  good &=
      read16To(0xCB, [&](unsigned raw) { power->shutdownVoltage = rounded((raw & 0x7FF) * 0.186 * 10.0); });
  return good;
}
