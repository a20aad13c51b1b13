#include "tests/support/model/driver_model.h"

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

[[gnu::format(printf, 1, 2)]] std::string text(const char* format, ...) {
  char line[256];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  return line;
}

// The ports that an argument of a setter stands for.
std::vector<unsigned> portsOf(unsigned c) {
  return c == 127 ? std::vector<unsigned>{0, 1, 2, 3} : std::vector<unsigned>{c};
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
  log.push_back({3, text("SWERR ERROR DETECTED: components/PoeDriver/pd69104 %d ", line)});
  log.push_back({3, message});
}

void DriverModel::open(const std::vector<int>& openErrors, const std::vector<int>& bindErrors) {
  error = false;
  errorCount = 0;
  mode = 0;
  descriptor = -1;
  if (const int openError = finalError(openErrors); openError != 0) {
    report(294, text("Cannot open I2C driver /dev/i2c-0: %s\n", strerror(openError)));
    error = true;
    errorCount = 1;
    return;
  }
  descriptor = I2cBus::DESCRIPTOR;
  if (const int bindError = finalError(bindErrors); bindError != 0) {
    report(306, text("Cannot access I2C driver: %s\n", strerror(bindError)));
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
    report(line, text("Failed reading device at address 0x%x\n", address));
    errorCount++;
    mode = 0;
    error = true;
  }
  return false;
}

bool DriverModel::write(unsigned address, unsigned value) {
  if (address > 0xCE) {
    report(2142, text("Range Error [address=0x%x]\n", address));
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
  return text("==============\nPD69104 DRIVER\n==============\n"
              "m_HwOperationMode       : %s\n\n"
              "m_i2c_filename          : /dev/i2c-0\n"
              "m_i2c_adapter_nr        : 0\n"
              "m_i2c_file              : %d\n"
              "m_poeError              : %s\n"
              "m_poeErrorCount         : %u\n",
              modes[mode], descriptor, error ? "TRUE" : "FALSE", errorCount);
}

bool DriverModel::rejected(unsigned c, int line, const std::string& message) {
  if (c <= 3 || c == 127) {
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
  if (rejected(c, 638, text("Range Error [4:%d]\n", c))) {
    return false;
  }
  bool good = true;
  for (const unsigned port : portsOf(c)) {
    good = update(0x12, 3U << 2 * port, newMode << 2 * port) && good;
  }
  return good;
}

bool DriverModel::setDetectionClassification(unsigned c, unsigned enable) {
  if (rejected(c, 1212, text("Range Error [c=4:%d ]\n", c))) {
    return false;
  }
  bool good = true;
  for (const unsigned port : portsOf(c)) {
    good = update(0x14, 0x11U << port, (enable & 1) * 0x11U << port) && good;
  }
  return good;
}

bool DriverModel::setDisconnect(unsigned c, unsigned value) {
  if (rejected(c, 868, text("Range Error [c=4:%d ]\n", c))) {
    return false;
  }
  bool good = true;
  for (const unsigned port : portsOf(c)) {
    good = update(0x13, 1U << port, (value & 1) << port) && good;
  }
  return good;
}

bool DriverModel::setMidspan(unsigned c, unsigned enable) {
  if (rejected(c, 940, text("Range Error [c=4:%d ]\n", c))) {
    return false;
  }
  bool good = true;
  for (const unsigned port : portsOf(c)) {
    good = update(0x15, 1U << port, (enable & 1) << port) && good;
  }
  return good;
}

bool DriverModel::setTlim(unsigned c, unsigned milliseconds) {
  if (rejected(c, 1011, text("Range Error [c=4:%d ]\n", c))) {
    return false;
  }
  // 1.71 ms a step, to the nearest; 26 ms and more are the 15 steps that fit.
  const unsigned steps =
      milliseconds >= 26 ? 15 : static_cast<unsigned>(std::floor((milliseconds + 0.855) / 1.71));
  bool good = true;
  for (const unsigned port : portsOf(c)) {
    const bool isUpper = port == 1 || port == 3;
    good = update(port < 2 ? 0x1E : 0x1F, isUpper ? 0xF0 : 0x0F, isUpper ? steps * 16 : steps) && good;
  }
  return good;
}

bool DriverModel::highPowerPort(unsigned port, unsigned enable, unsigned modeBits, unsigned icut,
                                unsigned limMode) {
  bool good = update(0x44, 1U << port, enable << port);
  good = update(0x46 + 5 * port, 3, modeBits) && good;
  unsigned cut = 0;
  if (icut > 1181) {
    unsigned steps = static_cast<unsigned>((icut + 18.75) / 37.5);
    if (steps > 63) {
      report(1148, text("Range Error: Icut too large, truncated [Icut=%d ]\n", icut));
      steps = 63;
    }
    cut = 0x80 | steps;
  } else {
    cut = 0xC0 | static_cast<unsigned>((icut + 9.375) / 18.75);
  }
  good = write(0x47 + 5 * port, cut) && good;
  if (limMode > 1) {
    report(1167, text("Illegal mode [0x%x]\n", limMode));
    return false;
  }
  return write(0x48 + 5 * port, limMode == 1 ? 0x80 : 0xC0) && good;
}

bool DriverModel::setHighPower(unsigned c, unsigned enable, unsigned bit0, unsigned bit1, unsigned icut,
                               unsigned limMode) {
  if (rejected(c, 1099, text("Range Error [c=4:%d ]\n", c))) {
    return false;
  }
  bool good = true;
  for (const unsigned port : portsOf(c)) {
    good = highPowerPort(port, enable & 1, (bit0 & 1) + 2 * (bit1 & 1), icut, limMode) && good;
  }
  return good;
}

bool DriverModel::setPriority(unsigned c, unsigned priority) {
  const std::string message = text("Range Error [c=4:%d pr=%d]\n", c, priority);
  if (rejected(c, 786, message)) {
    return false;
  }
  if (priority < 1 || priority > 3) {
    report(786, message);
    return false;
  }
  bool good = true;
  for (const unsigned port : portsOf(c)) {
    good = update(0x80, 3U << 2 * port, (priority - 1) << 2 * port) && good;
  }
  return good;
}

bool DriverModel::setPowerLimit(unsigned c, unsigned pw, unsigned tpw) {
  const std::string message = text("Range Error [c=4:%d pw=40000:%d tpw=40000:%d]\n", c, pw, tpw);
  if (rejected(c, 718, message)) {
    return false;
  }
  if (pw > 40000 || tpw > 40000) {
    report(718, message);
    return false;
  }
  bool good = true;
  for (const unsigned port : portsOf(c)) {
    good = write(0x81 + port, pw / 1000) && good;
    good = write(0x85 + port, tpw / 1000) && good;
  }
  return good;
}

bool DriverModel::setBankLimit(unsigned bank, unsigned watts) {
  if (bank > 7 || watts > 255) {
    report(539, text("Range Error [bank=%d powerLimit=%d]\n", bank, watts));
    return false;
  }
  return write(0x89 + bank, watts);
}

bool DriverModel::setStaticCalculation(bool isStatic) {
  return update(0x7F, 2, isStatic ? 0 : 2);
}

bool DriverModel::resetPorts(unsigned bits) {
  log.push_back({6, text("PoeResetPorts resetBits=0x%x\n", bits)});
  return write(0x1A, bits & 0x0F);
}

bool DriverModel::getChannel(unsigned port, ModelChannel* channel) {
  unsigned value = 0;
  const bool powerGood = read(0x10, &value);
  if (powerGood) {
    channel->enable = (value >> port & 1) != 0;
    channel->powerGood = (value >> (port + 4) & 1) != 0;
  }
  const bool statusGood = read(0x0C + port, &value);
  if (statusGood) {
    channel->detection = value & 7;
    channel->classification = value >> 4 & 7;
  }
  const bool fetGood = read(0x49 + 5 * port, &value);
  if (fetGood) {
    channel->fetError = (value & 2) != 0;
  }
  const bool flagsGood = read(port < 2 ? 0x75 : 0x76, &value);
  if (flagsGood) {
    const unsigned nibble = port % 2 == 0 ? value & 15 : value >> 4;
    channel->overTemperature = (nibble & 1) != 0;
    channel->inPowerManagement = (nibble & 2) != 0;
    channel->passedCapacitorDetection = (nibble & 4) != 0;
    channel->detectionFailed = (nibble & 8) != 0;
  }
  return powerGood && statusGood && fetGood && flagsGood;
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

bool DriverModel::getMeasurements(unsigned port, ModelMeasurements* measurements) {
  unsigned raw = 0;
  const bool mainGood = read16(0x71, &raw);
  if (mainGood) {
    measurements->mainVoltage = deciVolts(raw);
  }
  const bool voltageGood = read16(0x32 + 4 * port, &raw);
  if (voltageGood) {
    measurements->portVoltage = deciVolts(raw);
  }
  const bool currentGood = read16(0x30 + 4 * port, &raw);
  if (currentGood) {
    measurements->current = rounded(raw * 122.07 / 1000.0);
  }
  const bool consumptionGood = read(0x92 + port, &measurements->power);
  return mainGood && voltageGood && currentGood && consumptionGood;
}

bool DriverModel::getPriority(unsigned port, unsigned* priority) {
  unsigned value = 0;
  if (!read(0x80, &value)) {
    return false;
  }
  *priority = value >> 2 * port & 3;
  return true;
}

bool DriverModel::getPowerLimits(unsigned port, unsigned* pw, unsigned* tpw) {
  unsigned value = 0;
  const bool pwGood = read(0x81 + port, &value);
  if (pwGood) {
    *pw = value & 63;
  }
  const bool tpwGood = read(0x85 + port, &value);
  if (tpwGood) {
    *tpw = value & 63;
  }
  return pwGood && tpwGood;
}

bool DriverModel::getMode(unsigned port, unsigned* portMode) {
  unsigned value = 0;
  if (!read(0x12, &value)) {
    return false;
  }
  *portMode = value >> 2 * port & 3;
  return true;
}

bool DriverModel::getDevice(ModelDevice* device) {
  unsigned value = 0;
  const bool idGood = read(0x43, &value);
  if (idGood) {
    device->id = value >> 5;
    device->revision = value & 7;
  }
  const bool temperatureGood = read(0x70, &value);
  device->temperature = temperatureGood ? static_cast<int>(value * 0.96) - 27 : 0;
  const bool shutdownGood = read(0x42, &value);
  if (shutdownGood) {
    device->thermalShutdown = value >= 0x80;
  }
  device->mode = mode;
  device->error = error;
  device->errorCount = errorCount;
  return idGood && temperatureGood && shutdownGood;
}

bool DriverModel::getBank(unsigned* bank) {
  unsigned value = 0;
  if (!read(0x91, &value)) {
    return false;
  }
  *bank = value >> 3 & 15;
  return true;
}

bool DriverModel::getBankLimit(unsigned bank, unsigned* watts) {
  return read(0x89 + bank, watts);
}

bool DriverModel::getStaticCalculation(bool* isStatic) {
  unsigned value = 0;
  if (!read(0x7F, &value)) {
    return false;
  }
  *isStatic = (value & 2) == 0;
  return true;
}

bool DriverModel::getPower(ModelPower* power) {
  const bool consumptionGood = read(0x96, &power->consumption);
  getBank(&power->bank); // its failure does not count
  const bool limitGood = read(0x89 + (power->bank & 7), &power->limit);
  unsigned raw = 0;
  const bool mainGood = read16(0x71, &raw);
  if (mainGood) {
    power->mainVoltage = deciVolts(raw);
  }
  const bool shutdownGood = read16(0xCB, &raw);
  if (shutdownGood) {
    power->shutdownVoltage = rounded((raw & 0x7FF) * 0.186 * 10.0);
  }
  return consumptionGood && limitGood && mainGood && shutdownGood;
}
