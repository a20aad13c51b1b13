// The engine's life cycle and the worker's cycle.
#include "pd69104_engine.h"

#include "diagnostics.h"
#include "pd69104_engine_errors.h"
#include "platform/better_sleep.h"

#include <cstdio>
#include <cstring>
#include <new>

namespace {

constexpr int ADAPTER = 0;
constexpr unsigned CHIP_ADDRESS = 0x20;
constexpr unsigned WATCHDOG_TIMEOUT = 60000; // ms
constexpr double CYCLE_PAUSE = 1.0;          // s

} // namespace

pthread_mutex_t CPD69104Engine::m_mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

// The guard outlives the whole construction, that of the bases included, so the console never meets half an
// engine.
CPD69104Engine::CPD69104Engine() : CPD69104Engine(Guard(&m_mutex)) {}

CPD69104Engine::CPD69104Engine(const Guard&)
    : Cdebugable("PD69104Engine"), m_state(EngineState::IDLE), m_driver(nullptr), m_status(), m_config(),
      m_configValid(false), m_thread(0), m_running(false), m_watchdog(nullptr), m_power(), m_device(),
      m_channel(), m_prevCounts() {
  m_watchdog = new (std::nothrow) watchdogMonitor("PoeEngine");
  for (PoePortStatus& port : m_status.port) {
    port.operStatus = OperStatus::OTHERFAULT;
  }
  m_driver = new (std::nothrow) CPD69104(ADAPTER, CHIP_ADDRESS);
  m_status.mainOperStatus = m_driver != nullptr ? MainOperStatus::NOT_CHECKED : MainOperStatus::UNREACHABLE;
}

CPD69104Engine::~CPD69104Engine() {
  stop();
  // A console command that still comes in finds no chip and no watchdog.
  const Guard guard(&m_mutex);
  delete m_driver;
  m_driver = nullptr;
  delete m_watchdog;
  m_watchdog = nullptr;
}

bool CPD69104Engine::start() {
  puts("...Cpd69104Engine::start");
  m_running = true;
  pthread_t thread = 0;
  if (pthread_create(&thread, nullptr, ThreadStartup, static_cast<ThreadClass*>(this)) != 0) {
    SOFTWARE_ERROR(ENGINE_PATH, EngineLine::START, "Cannot create thread\n");
    return false;
  }
  m_thread = thread;
  return true;
}

bool CPD69104Engine::stop() {
  m_running = false;
  if (m_thread == 0) {
    return true;
  }
  if (pthread_join(m_thread, nullptr) != 0) {
    SOFTWARE_ERROR(ENGINE_PATH, EngineLine::STOP, "Failed to join\n");
    return false;
  }
  m_thread = 0;
  return true;
}

int CPD69104Engine::run() {
  puts("...in CPD69104Engine::run");
  if (m_driver == nullptr) {
    m_running = false;
  } else {
    setUpChip();
  }
  if (m_watchdog != nullptr) {
    m_watchdog->wdm_start(WATCHDOG_TIMEOUT);
  }
  while (m_running) {
    cycle();
    sendStatus();
    BetterSleep(CYCLE_PAUSE);
  }
  m_state = EngineState::IDLE;
  return 0;
}

void CPD69104Engine::setUpChip() {
  const Guard guard(&m_mutex);
  DeviceStatus device{};
  m_driver->PoeGetDeviceStatus(&device);
  if (device.hwOperationMode == FAIL) {
    m_running = false;
    return;
  }
  initialiseChip();
  m_state = EngineState::ACTIVE;
}

// Success is not looked at: a chip that could not be initialised is found by the next cycle's check.
void CPD69104Engine::initialiseChip() {
  m_driver->PoeSetDefaultConfiguration();
  m_driver->PoeSetPmCalculationStatic(true);
}

void CPD69104Engine::cycle() {
  const Guard guard(&m_mutex);
  if (m_watchdog != nullptr) {
    m_watchdog->wdm_notify(0);
  }
  checkChip();
  audit();
  readPowerStatus();
  readDeviceStatus();
  updateOperStatus();
  readChannelCounts();
  for (unsigned port = 0; port < POE_PORTS; port++) {
    pollPort(port);
  }
}
