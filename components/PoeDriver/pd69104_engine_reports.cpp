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
bool portArgument(std::uint32_t argc, const char* const* argv, Reply& reply, std::uint32_t* port) {
  if (argc <= 1) {
    reply.add("MISSING PARAMETERS for command <channel> \n");
    return false;
  }
  *port = numberArgument(argv[1]);
  if (*port >= POE_PORTS) {
    reply.print("RANGE ERROR for command <channel> [%u]\n", *port);
    return false;
  }
  return true;
}

void addPortState(Reply& reply, const PoePortConfig& config, const PoePortStatus& status) {
  reply.addFlag("  admin enable              = ", config.adminEnable != 0);
  reply.addWord("  Oper status               = ", decode(OPER_STATUS_WORDS, status.operStatus));
  reply.addWord("  powerClassification       = ", decode(CLASSIFICATION_WORDS, status.powerClassification));
}

// The lines of a reading that fails are left out.
void addPortReadings(Reply& reply, CPD69104& chip, std::uint32_t port) {
  PortPowerLimits limits{};
  if (chip.PoeGetPortPowerLimit(port, &limits)) {
    reply.addNumber("  port power limit (W)      = ", limits.pw);
    reply.addNumber("  temp port power limit (W) = ", limits.tpw);
  }
  unsigned priority = 0;
  if (chip.PoeGetPortPriority(port, &priority)) {
    reply.addNumber("  priority                  = ", priority); // kept: one less than was configured
  }
  PortMeasurements measurements{};
  if (chip.PoeGetMeasurements(port, &measurements)) {
    reply.addNumber("  main voltage (dV)         = ", measurements.main_voltage);
    reply.addNumber("  port_voltage (dV)         = ", measurements.port_voltage);
    reply.addNumber("  port_current (mA)         = ", measurements.port_current);
    reply.addNumber("  power_consumption (W)     = ", measurements.power_consumption);
  }
  reply.add("\n");
}

void addPortCounters(Reply& reply, const PoePortStatus& status) {
  for (const EventCounter& counter : EVENT_COUNTERS) {
    reply.addNumber(counter.reportLabel, status.*counter.total);
  }
  reply.add("\n");
}

} // namespace

void CPD69104Engine::cmdInfo(std::uint32_t /*argc*/, const char* const* /*argv*/, char* out,
                             std::uint32_t outLen) {
  const Guard guard(&m_mutex);
  Reply reply(out, outLen);
  addEngineLines(reply);
  if (m_driver == nullptr) {
    reply.add("No POE device found\n");
  } else {
    addPowerLines(reply);
  }
}

// The engine's own part of "info": its state and the watchdog client's.
void CPD69104Engine::addEngineLines(Reply& reply) {
  reply.add("\n"
            "==============\n"
            "pd69104 Engine\n"
            "==============\n"
            "\n");
  reply.add(stateLine(m_state));
  reply.add("\n");
  if (m_watchdog != nullptr) {
    char state[STATE_TEXT_SIZE + 1] = {};
    m_watchdog->wdm_dbg(state, STATE_TEXT_SIZE);
    reply.add(state);
  } else {
    reply.add("No watchdog device found\n");
  }
  reply.add("\n");
}

// The driver's part of "info": its state and the figures of the power management.
void CPD69104Engine::addPowerLines(Reply& reply) {
  char state[STATE_TEXT_SIZE + 1] = {};
  m_driver->PoeDriverInfo(state, STATE_TEXT_SIZE);
  reply.add(state);
  reply.addVolts("main voltage (V)        = ", m_power.main_voltage);
  reply.addNumber("power_consumption       = ", m_power.power_consumption);
  reply.addVolts("min_shutdown_voltage    = ", m_power.min_shutdown_voltage);
  bool isStatic = false;
  m_driver->PoeGetPmCalculationStatic(&isStatic);
  reply.addFlag("PM calculation static   = ", isStatic);
  reply.addNumber("power_bank              = ", m_power.power_bank);
  reply.addNumber("power_limit (this bank) = ", m_power.power_limit);
  reply.add("power_bank settings:\n");
  unsigned limit = 0; // kept: a bank that cannot be read shows the limit of the one before
  for (unsigned bank = 0; bank < POE_BANKS; bank++) {
    m_driver->PoeGetBankPowerLimit(bank, &limit);
    reply.print("  - power_limit[%u] = %u\n", bank, limit);
  }
  reply.add("\n");
}

void CPD69104Engine::cmdDevice(std::uint32_t /*argc*/, const char* const* /*argv*/, char* out,
                               std::uint32_t outLen) {
  const Guard guard(&m_mutex);
  Reply reply(out, outLen);
  reply.add("device status\n"
            "=============\n");
  reply.addNumber("  device_id               = ", m_device.device_id);
  reply.addNumber("  device revision         = ", m_device.device_revision);
  reply.addSigned("  temperature             = ", m_device.temperature);
  reply.addFlag("  thermal shutdown        = ", m_device.thermal_shutdown);
  reply.addFlag("  dev_error               = ", m_device.dev_error);
  reply.addNumber("  device errorcount       = ", m_device.device_errorcount);
  reply.add("\n");
}

// What the two port reports have in common: everything around their lines.
void CPD69104Engine::reportPort(std::uint32_t argc, const char* const* argv, char* out, std::uint32_t outLen,
                                void (CPD69104Engine::*addLines)(Reply&, unsigned)) {
  Reply reply(out, outLen);
  std::uint32_t port = 0;
  if (portArgument(argc, argv, reply, &port)) {
    const Guard guard(&m_mutex);
    reply.addNumber("channel ", port);
    reply.add("============\n");
    if (m_driver == nullptr) {
      reply.add("No POE device found\n");
    } else {
      (this->*addLines)(reply, port);
    }
  }
  reply.add("\n");
}

void CPD69104Engine::cmdChannel(std::uint32_t argc, const char* const* argv, char* out,
                                std::uint32_t outLen) {
  reportPort(argc, argv, out, outLen, &CPD69104Engine::addChannelLines);
}

void CPD69104Engine::addChannelLines(Reply& reply, unsigned port) {
  const ChannelStatus& channel = m_channel[port];
  reply.addFlag("  enable                  = ", channel.enable);
  reply.addFlag("  power_good              = ", channel.power_good);
  reply.addWord("  det_status              = ", decode(DETECTION_WORDS, channel.det_status));
  reply.addWord("  pclass                  = ", decode(CHIP_CLASS_WORDS, channel.pclass));
  reply.addFlag("  fet_error               = ", channel.fet_error);
  reply.addFlag("  mosfet_overtemperature  = ", channel.mosfet_overtemperature);
  reply.addFlag("  in_pm_mode              = ", channel.in_pm_mode);
  reply.addFlag("  passed_MSCC_cap_det     = ", channel.passed_MSCC_cap_det);
  reply.addFlag("  det_fail                = ", channel.det_fail);
}

void CPD69104Engine::cmdPoePort(std::uint32_t argc, const char* const* argv, char* out,
                                std::uint32_t outLen) {
  reportPort(argc, argv, out, outLen, &CPD69104Engine::addPoePortLines);
}

void CPD69104Engine::addPoePortLines(Reply& reply, unsigned port) {
  addPortState(reply, m_config.port[port], m_status.port[port]);
  addPortReadings(reply, *m_driver, port);
  addPortCounters(reply, m_status.port[port]);
}
