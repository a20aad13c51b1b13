// The engine's picture of the chip: what the worker reads each cycle, what it derives from it, and the status
// message.
#include "diagnostics.h"
#include "pd69104_engine.h"
#include "pd69104_engine_errors.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <mqueue.h>

namespace {

constexpr std::uint32_t RAW_COUNT_MASK = 3; // the chip's event counters have two bits

// PoePortStatus::powerClassification by the chip's classification code.
constexpr std::uint32_t POWER_CLASSIFICATION[8] = {
    PowerClassification::NONE,   PowerClassification::CLASS1, PowerClassification::CLASS2,
    PowerClassification::CLASS3, PowerClassification::CLASS4, PowerClassification::NONE,
    PowerClassification::CLASS0, PowerClassification::NONE,
};

constexpr unsigned BAD_SIGNATURES =
    1U << DetectionStatus::SHORT | 1U << DetectionStatus::CAPACITANCE_TOO_HIGH |
    1U << DetectionStatus::RESISTANCE_TOO_LOW | 1U << DetectionStatus::RESISTANCE_TOO_HIGH;

bool isBadSignature(std::uint32_t detStatus) {
  return (BAD_SIGNATURES >> detStatus & 1U) != 0;
}

// One port's operational status, by the first rule that holds.
std::uint32_t operStatusOf(const PoePortConfig& config, bool deviceFault, const ChannelStatus& channel) {
  if (config.adminEnable == 0) {
    return OperStatus::DISABLED;
  }
  if (deviceFault || channel.fet_error || channel.mosfet_overtemperature) {
    return OperStatus::OTHERFAULT;
  }
  if (channel.det_fail || isBadSignature(channel.det_status)) {
    return OperStatus::FAULT;
  }
  return channel.enable ? OperStatus::DELIVERINGPOWER : OperStatus::SEARCHING;
}

} // namespace

void CPD69104Engine::readPowerStatus() {
  PowerStatus power = m_power; // what a failed read keeps is the last known value
  if (m_driver->PoeGetPowerStatus(&power)) {
    m_power = power;
    m_status.mainPower = power.power_limit;
    m_status.mainConsumption = power.power_consumption;
  }
}

void CPD69104Engine::readDeviceStatus() {
  DeviceStatus device = m_device;
  if (m_driver->PoeGetDeviceStatus(&device)) {
    m_device = device;
    m_status.thermalShutdown = device.thermal_shutdown;
    m_status.deviceTemperature = device.temperature;
  } else {
    // The driver's own state is always current.
    m_device.hwOperationMode = device.hwOperationMode;
    m_device.dev_error = device.dev_error;
    m_device.device_errorcount = device.device_errorcount;
  }
  m_status.devError = device.dev_error;
}

void CPD69104Engine::readChannelCounts() {
  ChannelCounts counts{};
  if (!m_driver->PoeGetChannelCounts(&counts)) {
    return;
  }
  for (unsigned k = 0; k < EVENT_COUNTER_COUNT; k++) {
    const EventCounter counter = EVENT_COUNTERS[k];
    for (unsigned port = 0; port < POE_PORTS; port++) {
      const std::uint32_t raw = counts[port].*counter.raw;
      const std::uint32_t events = (raw - m_prevCounts[port][k]) & RAW_COUNT_MASK;
      m_status.port[port].*counter.total += counter.weight * events;
      m_prevCounts[port][k] = raw;
    }
  }
}

bool CPD69104Engine::pollPort(unsigned port) {
  const Guard guard(&m_mutex);
  if (port >= POE_PORTS) {
    SOFTWARE_ERROR(ENGINE_PATH, EngineLine::POLL_PORT, "Illegal portnr [%d]\n", port);
    return false;
  }
  PoePortStatus& status = m_status.port[port];
  ChannelStatus channel{};
  const bool ok = m_driver->PoeGetChannelStatus(port, &channel);
  if (ok) {
    status.powerClassification = POWER_CLASSIFICATION[channel.pclass];
    m_channel[port] = channel;
    status.detectionStatus = channel.det_status;
  }
  PortMeasurements measurements{};
  if (m_driver->PoeGetMeasurements(port, &measurements)) {
    status.powerConsumption = measurements.power_consumption;
  }
  updateOperStatus();
  return ok;
}

// In two loops because of GCC 12: at -O1, -O2 and -Os its pass ivopts loses the store in a loop that reads
// ChannelStatus records and writes PoePortStatus records, on x86-64 and PowerPC. The unit tests show the loss
// when they are built at these levels.
bool CPD69104Engine::updateOperStatus() {
  const bool deviceFault = m_device.dev_error || m_device.thermal_shutdown;
  std::uint32_t operStatus[POE_PORTS];
  for (unsigned port = 0; port < POE_PORTS; port++) {
    operStatus[port] = operStatusOf(m_config.port[port], deviceFault, m_channel[port]);
  }
  for (unsigned port = 0; port < POE_PORTS; port++) {
    m_status.port[port].operStatus = operStatus[port];
  }
  return true;
}

bool CPD69104Engine::sendStatus() {
  const mqd_t queue = mq_open(QUEUE_TO_MAIN, O_WRONLY);
  if (queue == -1) {
    const int error = errno;
    SOFTWARE_ERROR(ENGINE_PATH, EngineLine::OPEN_STATUS_QUEUE, "mq_open %s: %s\n", QUEUE_TO_MAIN,
                   strerror(error));
    return false;
  }
  const PoeStatusMessage message{MSGID_STATUS, m_status};
  timespec deadline{};
  clock_gettime(CLOCK_REALTIME, &deadline);
  deadline.tv_sec += 1;
  const bool sent =
      mq_timedsend(queue, reinterpret_cast<const char*>(&message), sizeof message, 0, &deadline) == 0;
  if (!sent) {
    const int error = errno;
    SOFTWARE_ERROR(ENGINE_PATH, EngineLine::SEND_STATUS, "msgsnd failure: %s\n", strerror(error));
  }
  mq_close(queue);
  return sent;
}
