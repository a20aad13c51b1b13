// The PoE engine: owns the chip driver, a worker thread and the last configuration.
//
// Once a second the worker checks that the chip still holds its configuration, audits the power budget, reads
// the chip's status, derives the ports' status and sends it to the main process. The debug console addresses
// the engine as "PD69104Engine".
//
// Threads: construction, start, handleConfig, stop and destruction belong to one thread (the main thread);
// run is the worker's; dbgCommand is called by the console. One process-wide recursive mutex serialises all
// use of the driver and of the records; the operations that are called by more than one thread take it
// themselves, the others say so. The engine must be stopped and no longer be called by the console when it is
// destroyed.
//
// The operations from applyConfig on need a driver object; without one the engine never becomes ACTIVE and
// never reaches them.
#pragma once

#include "pd69104.h"
#include "pd69104_engine_counters.h"
#include "platform/debugable.h"
#include "platform/guard.h"
#include "platform/thread_annotations.h"
#include "platform/thread_class.h"
#include "platform/watchdog_monitor.h"
#include "poe_messages.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <pthread.h>

class Reply;

// Values of the engine's state; the console prints any other as UNKNOWN.
namespace EngineState {
constexpr std::int32_t IDLE = 0;   // configurations are ignored
constexpr std::int32_t ACTIVE = 1; // the worker has set up the chip and is running
} // namespace EngineState

class CPD69104Engine : public ThreadClass, public Zorvan::Cdebugable {
  static pthread_mutex_t m_mutex; // the engine mutex

public:
  // Opens the chip on adapter 0 at address 0x20 and registers with the console. Never fails: a chip that
  // cannot be reached is tried again in every cycle.
  CPD69104Engine();
  ~CPD69104Engine() override;

  // The worker's thread function: sets up the chip, then repeats the cycle until stop. Returns 0.
  int run() override;

  // Answers a console command: the keyword is element 0 of `argv`. At most `outLen` bytes of `out` are
  // written, a shorter reply is followed by NUL up to there, and a longer one is cut without a NUL. Returns 1
  // for a command of the table, else 0 after the help text.
  std::uint32_t dbgCommand(std::uint32_t argc, const char* const* argv, char* out,
                           std::uint32_t outLen) override;

  // Starts the worker thread. False, after a report, when it cannot be created.
  bool start();

  // Ends the worker after its current cycle (about a second at most, longer when the bus is slow) and joins
  // it. True also when there is none. False, after a report, when the join fails.
  bool stop();

  // Takes a configuration from the main process: applies what differs from the stored one and stores it
  // whole. `payload` points to the bytes of a PoeConfig and needs no alignment; `length` is not looked at.
  // Ignored while the engine is IDLE. Always true.
  bool handleConfig(const void* payload, std::size_t length);

  // Applies what differs from the stored configuration, or all of it when `force` is set. The driver reports
  // failures; always true.
  bool applyConfig(const PoeConfig& config, bool force);

  // Switches one port (0 to 3) off or on with its settings. True when every driver operation succeeded; each
  // is carried out even when an earlier one failed.
  bool configurePort(unsigned port, const PoePortConfig& c);

  // Rebuilds a chip that has lost its configuration and sets mainOperStatus. The caller holds the engine
  // mutex. Always true.
  bool checkChip() POE_REQUIRES(m_mutex);

  // Switches off and on again the powered ports that do not fit the active bank's limit. The caller holds the
  // engine mutex. Always true.
  bool audit() POE_REQUIRES(m_mutex);

  // Reads status and measurements of one port (0 to 3). True when the channel status could be read.
  bool pollPort(unsigned port);

  // Derives the operational status of all ports from the records. The caller holds the engine mutex. Always
  // true.
  bool updateOperStatus() POE_REQUIRES(m_mutex);

  // Sends the status message to the main process; waits at most a second for room in the queue. True when it
  // was sent. Called by the worker without the engine mutex: no other thread writes what is sent.
  bool sendStatus() POE_NOT_CHECKED;

  // The console commands, called by dbgCommand with its own arguments.
  void cmdHelp(std::uint32_t argc, const char* const* argv, char* out, std::uint32_t outLen);
  void cmdInfo(std::uint32_t argc, const char* const* argv, char* out, std::uint32_t outLen);
  void cmdDevice(std::uint32_t argc, const char* const* argv, char* out, std::uint32_t outLen);
  void cmdChannel(std::uint32_t argc, const char* const* argv, char* out, std::uint32_t outLen);
  void cmdPoePort(std::uint32_t argc, const char* const* argv, char* out, std::uint32_t outLen);
  void cmdWriteReg(std::uint32_t argc, const char* const* argv, char* out, std::uint32_t outLen);
  void cmdReadReg(std::uint32_t argc, const char* const* argv, char* out, std::uint32_t outLen);

private:
  explicit CPD69104Engine(const Guard& constructionGuard);

  void setUpChip();
  void initialiseChip() POE_REQUIRES(m_mutex);
  void cycle();
  void readPowerStatus() POE_REQUIRES(m_mutex);
  void readDeviceStatus() POE_REQUIRES(m_mutex);
  void readChannelCounts() POE_REQUIRES(m_mutex);
  unsigned portsToRestart() const POE_REQUIRES(m_mutex);
  void restartPorts(unsigned restartMask) POE_REQUIRES(m_mutex);
  bool readRegister(std::uint32_t address, unsigned* value);
  bool writeRegister(std::uint32_t address, std::uint32_t value);
  void addEngineLines(Reply& reply);
  void addPowerLines(Reply& reply) POE_REQUIRES(m_mutex);
  void reportPort(std::uint32_t argc, const char* const* argv, char* out, std::uint32_t outLen,
                  void (CPD69104Engine::*addLines)(Reply& reply, unsigned port));
  void addChannelLines(Reply& reply, unsigned port) POE_REQUIRES(m_mutex);
  void addPoePortLines(Reply& reply, unsigned port) POE_REQUIRES(m_mutex);

  std::atomic<std::int32_t> m_state;                  // EngineState
  CPD69104* m_driver POE_POINTEE_GUARDED_BY(m_mutex); // owned; null when it could not be created
  PoeStatus m_status POE_GUARDED_BY(m_mutex);         // written by the worker only
  PoeConfig m_config POE_GUARDED_BY(m_mutex);         // the last configuration accepted
  bool m_configValid POE_GUARDED_BY(m_mutex);         // a configuration has been accepted
  pthread_t m_thread;                                 // 0: no worker
  std::atomic<bool> m_running;
  watchdogMonitor* m_watchdog; // owned; null when it could not be created
  // The last records read from the chip.
  PowerStatus m_power POE_GUARDED_BY(m_mutex);
  DeviceStatus m_device POE_GUARDED_BY(m_mutex);
  ChannelStatus m_channel[POE_PORTS] POE_GUARDED_BY(m_mutex);
  // Raw counts, in the order of EVENT_COUNTERS.
  std::uint32_t m_prevCounts[POE_PORTS][EVENT_COUNTER_COUNT] POE_GUARDED_BY(m_mutex);
};

static_assert(sizeof(std::atomic<std::int32_t>) == sizeof(std::int32_t) &&
              sizeof(std::atomic<bool>) == sizeof(bool));
