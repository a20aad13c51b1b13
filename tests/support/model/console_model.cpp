// The console's replies in the model.
#include "tests/support/model/engine_model.h"

#include <sstream>

namespace {

const char* flag(bool value) {
  return value ? "TRUE" : "FALSE";
}

std::string volts(unsigned deciVolts) {
  return std::to_string(deciVolts / 10) + "." + std::to_string(deciVolts % 10);
}

std::string title(unsigned port) {
  return "channel " + std::to_string(port) + "\n============\n";
}

} // namespace

std::string EngineModel::info() {
  std::ostringstream text;
  text << "\n==============\npd69104 Engine\n==============\n\n"
       << "m_state                 = " << (isActive ? "ACTIVE" : "IDLE") << "\n\n"
       << "state of PoeEngine\n\n"
       << driver.info();
  bool isStatic = false;
  driver.getStaticCalculation(&isStatic);
  text << "main voltage (V)        = " << volts(power.mainVoltage) << "\n"
       << "power_consumption       = " << power.consumption << "\n"
       << "min_shutdown_voltage    = " << volts(power.shutdownVoltage) << "\n"
       << "PM calculation static   = " << flag(isStatic) << "\n"
       << "power_bank              = " << power.bank << "\n"
       << "power_limit (this bank) = " << power.limit << "\n"
       << "power_bank settings:\n";
  unsigned limit = 0; // a bank that cannot be read shows the limit of the one before
  for (unsigned bank = 0; bank < 8; bank++) {
    driver.getBankLimit(bank, &limit);
    text << "  - power_limit[" << bank << "] = " << limit << "\n";
  }
  text << "\n";
  return text.str();
}

std::string EngineModel::device() const {
  std::ostringstream text;
  text << "device status\n=============\n"
       << "  device_id               = " << chip.id << "\n"
       << "  device revision         = " << chip.revision << "\n"
       << "  temperature             = " << chip.temperature << "\n"
       << "  thermal shutdown        = " << flag(chip.thermalShutdown) << "\n"
       << "  dev_error               = " << flag(chip.error) << "\n"
       << "  device errorcount       = " << chip.errorCount << "\n\n";
  return text.str();
}

std::string EngineModel::channel(unsigned port) const {
  const char* detections[] = {"UNKNOWN", "SHORT",         "CPD_TOO_HIGH", "RSIG_TOO_LOW",
                              "GOOD",    "RSIG_TOO_HIGH", "OPEN_CIRCUIT", "ILLEGAL"};
  const char* classes[] = {"UNKNOWN", "CLASS_1",        "CLASS_2", "CLASS_3",
                           "CLASS_4", "CLASS_RESERVED", "CLASS_0", "CLASS_OVERCURRENT"};
  const ModelChannel& shown = channels.at(port);
  std::ostringstream text;
  text << title(port) << "  enable                  = " << flag(shown.enable) << "\n"
       << "  power_good              = " << flag(shown.powerGood) << "\n"
       << "  det_status              = " << detections[shown.detection] << "\n"
       << "  pclass                  = " << classes[shown.classification] << "\n"
       << "  fet_error               = " << flag(shown.fetError) << "\n"
       << "  mosfet_overtemperature  = " << flag(shown.overTemperature) << "\n"
       << "  in_pm_mode              = " << flag(shown.inPowerManagement) << "\n"
       << "  passed_MSCC_cap_det     = " << flag(shown.passedCapacitorDetection) << "\n"
       << "  det_fail                = " << flag(shown.detectionFailed) << "\n\n";
  return text.str();
}

std::string EngineModel::poePort(unsigned port) {
  const char* states[] = {"ILLEGAL", "DISABLED", "SEARCHING", "DELIVERINGPOWER",
                          "FAULT",   "TEST",     "OTHERFAULT"};
  const char* classes[] = {"NONE", "CLASS0", "CLASS1", "CLASS2", "CLASS3", "CLASS4"};
  const PoePortStatus& shown = status.port[port];
  std::ostringstream text;
  text << title(port) << "  admin enable              = " << flag(stored.port[port].adminEnable != 0) << "\n"
       << "  Oper status               = " << states[shown.operStatus] << "\n"
       << "  powerClassification       = " << classes[shown.powerClassification] << "\n";
  unsigned pw = 0;
  unsigned tpw = 0;
  if (driver.getPowerLimits(port, &pw, &tpw)) {
    text << "  port power limit (W)      = " << pw << "\n  temp port power limit (W) = " << tpw << "\n";
  }
  unsigned priority = 0;
  if (driver.getPriority(port, &priority)) {
    text << "  priority                  = " << priority << "\n";
  }
  ModelMeasurements measured{};
  if (driver.getMeasurements(port, &measured)) {
    text << "  main voltage (dV)         = " << measured.mainVoltage << "\n"
         << "  port_voltage (dV)         = " << measured.portVoltage << "\n"
         << "  port_current (mA)         = " << measured.current << "\n"
         << "  power_consumption (W)     = " << measured.power << "\n";
  }
  text << "\n  invalidSignatureCounter   = " << shown.invalidSignatureCounter << "\n"
       << "  powerDeniedCounter        = " << shown.powerDeniedCounter << "\n"
       << "  overLoadCounter           = " << shown.overLoadCounter << "\n"
       << "  underLoadCounter          = " << shown.underLoadCounter << "\n"
       << "  shortCounter              = " << shown.shortCounter << "\n"
       << "  classErrorCounter         = " << shown.classErrorCounter << "\n\n\n";
  return text.str();
}

std::string EngineModel::readRegister(unsigned address) {
  unsigned value = 0;
  std::ostringstream text;
  text << std::hex;
  if (driver.read(address, &value)) {
    text << "PD69104Engine: value read 0x" << address << ":0x" << value << "\n\n";
  } else {
    text << "ERROR in reading register: 0x" << address << "\n\n";
  }
  return text.str();
}

std::string EngineModel::writeRegister(unsigned address, unsigned value) {
  std::ostringstream text;
  text << std::hex;
  if (driver.write(address, value)) {
    text << "PD69104Engine: value written ok 0x" << address << ":0x" << value << "\n\n";
  } else {
    text << "ERROR in writing register: 0x" << address << "\n\n";
  }
  return text.str();
}
