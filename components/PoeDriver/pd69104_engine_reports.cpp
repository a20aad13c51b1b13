// The console's reports: the engine ("info"), the chip ("device"), a channel and a port.
#include "pd69104_engine_console.h"

namespace {

constexpr int STATE_TEXT_SIZE = 4095; // what the state texts may fill, without a NUL

const char* stateLine(std::int32_t state) {
  switch (state) {
  case EngineState::IDLE:
    return "m_state                 = IDLE\n";
  case EngineState::ACTIVE:
    return "m_state                 = ACTIVE\n";
  default:
    return "m_state                 = UNKNOWN\n";
  }
}

// The port that the first argument names. Without one, or with one that does not exist, an error line is
// written and there is none. Kept: both commands name themselves "<channel>" here.
bool portArgument(std::uint32_t argc, const char* const* argv, std::ostringstream& report,
                  std::uint32_t* port) {
  if (argc <= 1) {
    report << "MISSING PARAMETERS for command <channel> \n";
    return false;
  }
  *port = numberArgument(argv[1]);
  if (*port >= POE_PORTS) {
    report << "RANGE ERROR for command <channel> [" << std::dec << *port << "]\n";
    return false;
  }
  return true;
}

void writePortState(std::ostringstream& report, const PoePortConfig& config, const PoePortStatus& status) {
  writeFlag(report, "  admin enable              = ", config.adminEnable != 0);
  writeWord(report, "  Oper status               = ", decode(OPER_STATUS_WORDS, status.operStatus));
  writeWord(report,
            "  powerClassification       = ", decode(CLASSIFICATION_WORDS, status.powerClassification));
}

// The lines of a reading that fails are left out.
void writePortReadings(std::ostringstream& report, CPD69104& chip, std::uint32_t port) {
  PortPowerLimits limits{};
  if (chip.PoeGetPortPowerLimit(port, &limits)) {
    writeNumber(report, "  port power limit (W)      = ", limits.pw);
    writeNumber(report, "  temp port power limit (W) = ", limits.tpw);
  }
  unsigned priority = 0;
  if (chip.PoeGetPortPriority(port, &priority)) {
    writeNumber(report, "  priority                  = ", priority); // kept: one less than was configured
  }
  PortMeasurements measurements{};
  if (chip.PoeGetMeasurements(port, &measurements)) {
    writeNumber(report, "  main voltage (dV)         = ", measurements.main_voltage);
    writeNumber(report, "  port_voltage (dV)         = ", measurements.port_voltage);
    writeNumber(report, "  port_current (mA)         = ", measurements.port_current);
    writeNumber(report, "  power_consumption (W)     = ", measurements.power_consumption);
  }
  report << "\n";
}

void writePortCounters(std::ostringstream& report, const PoePortStatus& status) {
  for (const EventCounter& counter : EVENT_COUNTERS) {
    writeNumber(report, counter.reportLabel, status.*counter.total);
  }
  report << "\n";
}

} // namespace

void CPD69104Engine::cmdInfo(std::uint32_t /*argc*/, const char* const* /*argv*/, char* out,
                             std::uint32_t outLen) {
  const Guard guard(&m_mutex);
  std::string reply = engineText();
  if (m_driver == nullptr) {
    reply += "No POE device found\n";
  } else {
    reply += powerText();
  }
  copyReply(reply, out, outLen);
}

// The engine's own part of "info": its state and the watchdog client's.
std::string CPD69104Engine::engineText() {
  std::string text = "\n"
                     "==============\n"
                     "pd69104 Engine\n"
                     "==============\n"
                     "\n";
  text += stateLine(m_state);
  text += "\n";
  if (m_watchdog != nullptr) {
    char state[STATE_TEXT_SIZE + 1] = {};
    m_watchdog->wdm_dbg(state, STATE_TEXT_SIZE);
    text += state;
  } else {
    text += "No watchdog device found\n";
  }
  text += "\n";
  return text;
}

// The driver's part of "info": its state and the figures of the power management.
std::string CPD69104Engine::powerText() {
  char state[STATE_TEXT_SIZE + 1] = {};
  m_driver->PoeDriverInfo(state, STATE_TEXT_SIZE);

  std::ostringstream report;
  writeVolts(report, "main voltage (V)        = ", m_power.main_voltage);
  writeNumber(report, "power_consumption       = ", m_power.power_consumption);
  writeVolts(report, "min_shutdown_voltage    = ", m_power.min_shutdown_voltage);
  bool isStatic = false;
  m_driver->PoeGetPmCalculationStatic(&isStatic);
  writeFlag(report, "PM calculation static   = ", isStatic);
  writeNumber(report, "power_bank              = ", m_power.power_bank);
  writeNumber(report, "power_limit (this bank) = ", m_power.power_limit);
  report << "power_bank settings:\n";
  unsigned limit = 0; // kept: a bank that cannot be read shows the limit of the one before
  for (unsigned bank = 0; bank < POE_BANKS; bank++) {
    m_driver->PoeGetBankPowerLimit(bank, &limit);
    report << "  - power_limit[" << std::dec << bank << "] = " << std::dec << limit << "\n";
  }
  return state + report.str() + "\n";
}

void CPD69104Engine::cmdDevice(std::uint32_t /*argc*/, const char* const* /*argv*/, char* out,
                               std::uint32_t outLen) {
  const Guard guard(&m_mutex);
  std::ostringstream report;
  report << "device status\n"
         << "=============\n";
  writeNumber(report, "  device_id               = ", m_device.device_id);
  writeNumber(report, "  device revision         = ", m_device.device_revision);
  writeSigned(report, "  temperature             = ", m_device.temperature);
  writeFlag(report, "  thermal shutdown        = ", m_device.thermal_shutdown);
  writeFlag(report, "  dev_error               = ", m_device.dev_error);
  writeNumber(report, "  device errorcount       = ", m_device.device_errorcount);
  report << "\n";
  copyReply(report.str(), out, outLen);
}

// What the two port reports have in common: everything around their lines.
void CPD69104Engine::reportPort(std::uint32_t argc, const char* const* argv, char* out, std::uint32_t outLen,
                                void (CPD69104Engine::*writeLines)(std::ostringstream&, unsigned)) {
  std::ostringstream report;
  std::uint32_t port = 0;
  if (portArgument(argc, argv, report, &port)) {
    const Guard guard(&m_mutex);
    report << "channel " << std::dec << port << "\n"
           << "============\n";
    if (m_driver == nullptr) {
      report << "No POE device found\n";
    } else {
      (this->*writeLines)(report, port);
    }
  }
  copyReply(report.str() + "\n", out, outLen);
}

void CPD69104Engine::cmdChannel(std::uint32_t argc, const char* const* argv, char* out,
                                std::uint32_t outLen) {
  reportPort(argc, argv, out, outLen, &CPD69104Engine::writeChannelLines);
}

void CPD69104Engine::writeChannelLines(std::ostringstream& report, unsigned port) {
  const ChannelStatus& channel = m_channel[port];
  writeFlag(report, "  enable                  = ", channel.enable);
  writeFlag(report, "  power_good              = ", channel.power_good);
  writeWord(report, "  det_status              = ", decode(DETECTION_WORDS, channel.det_status));
  writeWord(report, "  pclass                  = ", decode(CHIP_CLASS_WORDS, channel.pclass));
  writeFlag(report, "  fet_error               = ", channel.fet_error);
  writeFlag(report, "  mosfet_overtemperature  = ", channel.mosfet_overtemperature);
  writeFlag(report, "  in_pm_mode              = ", channel.in_pm_mode);
  writeFlag(report, "  passed_MSCC_cap_det     = ", channel.passed_MSCC_cap_det);
  writeFlag(report, "  det_fail                = ", channel.det_fail);
}

void CPD69104Engine::cmdPoePort(std::uint32_t argc, const char* const* argv, char* out,
                                std::uint32_t outLen) {
  reportPort(argc, argv, out, outLen, &CPD69104Engine::writePoePortLines);
}

void CPD69104Engine::writePoePortLines(std::ostringstream& report, unsigned port) {
  writePortState(report, m_config.port[port], m_status.port[port]);
  writePortReadings(report, *m_driver, port);
  writePortCounters(report, m_status.port[port]);
}
