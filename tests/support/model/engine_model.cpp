#include "tests/support/model/engine_model.h"

#include "tests/support/model/budget_model.h"

#include <algorithm>
#include <cstring>

void EngineModel::construct(const std::vector<int>& openErrors, const std::vector<int>& bindErrors) {
  for (PoePortStatus& port : status.port) {
    port.operStatus = 6;
  }
  driver.open(openErrors, bindErrors);
}

void EngineModel::setUp() {
  ModelDevice unused{};
  driver.getDevice(&unused);
  driver.setDefaultConfiguration();
  driver.setStaticCalculation(true);
  isActive = true;
}

void EngineModel::cycle() {
  checkChip();
  audit();
  readPower();
  readDevice();
  readCounts();
  for (unsigned port = 0; port < 4; port++) {
    pollPort(port);
  }
  sendStatus();
}

void EngineModel::readPower() {
  ModelPower now = power;
  if (driver.getPower(&now)) {
    power = now;
    status.mainPower = now.limit;
    status.mainConsumption = now.consumption;
  }
}

void EngineModel::readDevice() {
  ModelDevice now = chip;
  const bool good = driver.getDevice(&now);
  if (good) {
    chip = now;
    status.thermalShutdown = now.thermalShutdown ? 1 : 0;
    status.deviceTemperature = now.temperature;
  }
  chip.mode = now.mode;
  chip.error = now.error;
  chip.errorCount = now.errorCount;
  status.devError = now.error ? 1 : 0;
  updateOperStatus();
}

void EngineModel::readCounts() {
  ModelCounts now{};
  if (!driver.getCounts(&now)) {
    return;
  }
  for (unsigned port = 0; port < 4; port++) {
    std::array<unsigned, 6> added{};
    for (unsigned kind = 0; kind < 6; kind++) {
      added.at(kind) = (now.at(port).at(kind) + 4 - previousCounts.at(port).at(kind)) % 4;
    }
    PoePortStatus& counters = status.port[port];
    counters.invalidSignatureCounter += added[0];
    counters.powerDeniedCounter += 2 * added[1]; // each one counts twice
    counters.overLoadCounter += added[2];
    counters.underLoadCounter += added[3];
    counters.shortCounter += added[4];
    counters.classErrorCounter += added[5];
  }
  previousCounts = now;
}

bool EngineModel::pollPort(unsigned port) {
  const unsigned classes[] = {0, 2, 3, 4, 5, 0, 1, 0};
  ModelChannel now{};
  const bool good = driver.getChannel(port, &now);
  if (good) {
    channels.at(port) = now;
    status.port[port].powerClassification = classes[now.classification];
    status.port[port].detectionStatus = now.detection;
  }
  ModelMeasurements measured{};
  if (driver.getMeasurements(port, &measured)) {
    status.port[port].powerConsumption = measured.power;
  }
  updateOperStatus();
  return good;
}

void EngineModel::updateOperStatus() {
  for (unsigned port = 0; port < 4; port++) {
    status.port[port].operStatus = operStatusOf(port);
  }
}

unsigned EngineModel::operStatusOf(unsigned port) const {
  const ModelChannel& channel = channels.at(port);
  if (stored.port[port].adminEnable == 0) {
    return 1;
  }
  if (chip.error || chip.thermalShutdown || channel.fetError || channel.overTemperature) {
    return 6;
  }
  const unsigned detection = channel.detection;
  if (channel.detectionFailed || detection == 1 || detection == 2 || detection == 3 || detection == 5) {
    return 4;
  }
  return channel.enable ? 3 : 2;
}

bool EngineModel::sendStatus() {
  calls.emplace_back("mq_open /queueToMain O_WRONLY");
  if (openError != 0) {
    driver.log.push_back({3, "SWERR ERROR DETECTED: components/PoeDriver/pd69104_engine 925 "});
    driver.log.push_back({3, std::string("mq_open /queueToMain: ") + strerror(openError) + "\n"});
    return false;
  }
  calls.emplace_back("mq_timedsend 188");
  if (sendError != 0) {
    driver.log.push_back({3, "SWERR ERROR DETECTED: components/PoeDriver/pd69104_engine 940 "});
    driver.log.push_back({3, std::string("msgsnd failure: ") + strerror(sendError) + "\n"});
  } else {
    const std::uint32_t id = 17;
    std::vector<std::uint8_t> message(188);
    std::memcpy(message.data(), &id, 4);
    std::memcpy(message.data() + 4, &status, 184);
    messages.push_back(std::move(message));
  }
  calls.emplace_back("mq_close");
  return sendError == 0;
}

void EngineModel::handleConfig(const PoeConfig& config) {
  if (!isActive) {
    return;
  }
  applyConfig(config, false);
  stored = config;
  isStored = true;
}

void EngineModel::applyConfig(const PoeConfig& config, bool force) {
  for (unsigned bank = 0; bank < 8; bank++) {
    if (force || config.bankPowerLimit[bank] != stored.bankPowerLimit[bank]) {
      driver.setBankLimit(bank, std::min(config.bankPowerLimit[bank], 161U));
    }
  }
  for (unsigned port = 0; port < 4; port++) {
    const PoePortConfig& now = config.port[port];
    const PoePortConfig& before = stored.port[port];
    if (force || now.adminEnable != before.adminEnable || now.priority != before.priority ||
        now.powerLimit != before.powerLimit) {
      configurePort(port, now);
    }
  }
}

bool EngineModel::configurePort(unsigned port, const PoePortConfig& config) {
  if (config.adminEnable == 0) {
    const bool off = driver.setMode(port, 0);
    return driver.setDetectionClassification(port, 0) && off;
  }
  const bool isMost = config.powerLimit == 0 || config.powerLimit > 40000;
  bool good = driver.setMode(port, 3);
  good = driver.setPriority(port, config.priority) && good;
  good = driver.setPowerLimit(port, isMost ? 40000 : config.powerLimit, 0) && good;
  good = driver.setDisconnect(port, 1) && good;
  good = driver.setMidspan(port, 0) && good;
  good = driver.setTlim(port, 0) && good;
  good = driver.setHighPower(port, 1, 1, 0, 375, 1) && good;
  return driver.setDetectionClassification(port, 1) && good;
}

void EngineModel::checkChip() {
  unsigned marker = 0;
  if (!driver.getBankLimit(7, &marker)) {
    status.mainOperStatus = 3;
    return;
  }
  status.mainOperStatus = 1;
  if (marker == 0) {
    ModelDevice now{};
    driver.getDevice(&now);
    if (now.mode != 0) {
      return;
    }
  }
  driver.log.push_back({6, "PD69104 POE chip not initialised, excuting (re)init now!!"});
  driver.setDefaultConfiguration();
  driver.setStaticCalculation(true);
  if (isStored) {
    applyConfig(stored, true);
  }
}

std::vector<unsigned> EngineModel::portsToRestart() const {
  std::array<ModelPortPower, 4> powers{};
  for (unsigned port = 0; port < 4; port++) {
    powers.at(port) = {channels.at(port).detection, channels.at(port).enable};
  }
  const std::array<bool, 4> restarted = restartedPorts(stored, power.limit, powers);
  std::vector<unsigned> ports;
  for (unsigned port = 0; port < 4; port++) {
    if (restarted.at(port)) {
      ports.push_back(port);
    }
  }
  return ports;
}

void EngineModel::audit() {
  std::uint32_t total = 0;
  for (const PoePortConfig& port : stored.port) {
    total += port.powerLimit;
  }
  if (total / 1000 <= power.limit) {
    return;
  }
  const std::vector<unsigned> ports = portsToRestart();
  for (const unsigned port : ports) {
    driver.log.push_back({6, "CPD69104Engine::audit restarting Port " + std::to_string(port) + "\n"});
    PoePortConfig off = stored.port[port];
    off.adminEnable = 0;
    configurePort(port, off);
  }
  for (const unsigned port : ports) {
    if (isStored && stored.port[port].adminEnable != 0) {
      configurePort(port, stored.port[port]);
    }
  }
}
