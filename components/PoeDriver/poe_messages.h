// The messages exchanged with the card's main process over POSIX message queues.
//
// Every message is a 32-bit message id followed by its payload. All words are in the machine's byte order and
// the records have natural alignment; both sides depend on the offsets that are asserted below. The records
// own nothing.
#pragma once

#include <cstddef>
#include <cstdint>

// Inbound queue: created by this service at start-up, removed by it at exit.
constexpr char QUEUE_TO_POE[] = "/queueToPoe";
constexpr long QUEUE_TO_POE_MESSAGES = 10;
constexpr long QUEUE_TO_POE_MESSAGE_SIZE = 2000; // bytes

// Outbound queue: created and removed by the main process.
constexpr char QUEUE_TO_MAIN[] = "/queueToMain";

constexpr std::uint32_t MSGID_CONFIG = 0;  // on QUEUE_TO_POE, payload PoeConfig
constexpr std::uint32_t MSGID_STATUS = 17; // on QUEUE_TO_MAIN, payload PoeStatus

// The debug console: a TCP port of the loopback addresses.
constexpr std::uint16_t CONSOLE_PORT = 10001;

constexpr unsigned POE_PORTS = 4; // ports are numbered 0 to 3
constexpr unsigned POE_BANKS = 8; // power banks are numbered 0 to 7

// Values of PoePortStatus::operStatus, the detection states of RFC 3621.
namespace OperStatus {
constexpr std::uint32_t DISABLED = 1;
constexpr std::uint32_t SEARCHING = 2;
constexpr std::uint32_t DELIVERINGPOWER = 3;
constexpr std::uint32_t FAULT = 4;
constexpr std::uint32_t TEST = 5; // never produced by this service
constexpr std::uint32_t OTHERFAULT = 6;
} // namespace OperStatus

// Values of PoePortStatus::detectionStatus: the chip's own codes, 0 to 7.
namespace DetectionStatus {
constexpr std::uint32_t UNKNOWN = 0;
constexpr std::uint32_t SHORT = 1;
constexpr std::uint32_t CAPACITANCE_TOO_HIGH = 2;
constexpr std::uint32_t RESISTANCE_TOO_LOW = 3;
constexpr std::uint32_t GOOD = 4;
constexpr std::uint32_t RESISTANCE_TOO_HIGH = 5;
constexpr std::uint32_t OPEN_CIRCUIT = 6;
} // namespace DetectionStatus

// Values of PoePortStatus::powerClassification: the class of RFC 3621, and 0 for none.
namespace PowerClassification {
constexpr std::uint32_t NONE = 0;
constexpr std::uint32_t CLASS0 = 1;
constexpr std::uint32_t CLASS1 = 2;
constexpr std::uint32_t CLASS2 = 3;
constexpr std::uint32_t CLASS3 = 4;
constexpr std::uint32_t CLASS4 = 5;
} // namespace PowerClassification

// Values of PoeStatus::mainOperStatus.
namespace MainOperStatus {
constexpr std::uint32_t NOT_CHECKED = 0;
constexpr std::uint32_t RUNNING = 1;     // chip running and configured
constexpr std::uint32_t UNREACHABLE = 3; // chip absent, or its status cannot be read
} // namespace MainOperStatus

struct PoePortConfig {
  std::uint8_t adminEnable; // 0: switched off by the administrator; any other value: enabled
  std::uint8_t padding[3];
  std::uint32_t priority;            // 1 is served first, then 2, then 3
  std::uint32_t powerLimit;          // mW; 0 or above 40000 means 40000
  std::uint8_t furtherSettings[256]; // the main process's own; stored, never read
};

struct PoeConfig {
  std::uint32_t unused[4];                 // the main process's own; stored, never read
  std::uint32_t bankPowerLimit[POE_BANKS]; // W; at most 161 is written to the chip
  PoePortConfig port[POE_PORTS];
};

struct PoePortStatus {
  std::uint32_t operStatus;
  std::uint32_t detectionStatus;
  std::uint32_t powerClassification;
  std::uint32_t powerConsumption; // W
  // Running counts since the service started, modulo 2^32.
  std::uint32_t invalidSignatureCounter;
  std::uint32_t powerDeniedCounter;
  std::uint32_t overLoadCounter;
  std::uint32_t underLoadCounter;
  std::uint32_t shortCounter;
  std::uint32_t classErrorCounter;
};

struct PoeStatus {
  std::uint32_t mainPower; // W: limit of the active power bank
  std::uint32_t mainOperStatus;
  std::uint32_t reserved;        // 0
  std::uint32_t mainConsumption; // W: total consumption
  PoePortStatus port[POE_PORTS];
  std::int32_t deviceTemperature; // degrees Celsius
  std::uint8_t thermalShutdown;   // 1: the chip reports thermal shutdown
  std::uint8_t devError;          // 1: the last transfer failed when the device status was read
  std::uint8_t padding[2];        // 0
};

struct PoeConfigMessage {
  std::uint32_t msgId; // MSGID_CONFIG
  PoeConfig config;
};

struct PoeStatusMessage {
  std::uint32_t msgId; // MSGID_STATUS
  PoeStatus status;
};

static_assert(sizeof(PoePortConfig) == 268);
static_assert(offsetof(PoePortConfig, adminEnable) == 0);
static_assert(offsetof(PoePortConfig, priority) == 4);
static_assert(offsetof(PoePortConfig, powerLimit) == 8);
static_assert(offsetof(PoePortConfig, furtherSettings) == 12);

static_assert(sizeof(PoeConfig) == 1120);
static_assert(offsetof(PoeConfig, unused) == 0);
static_assert(offsetof(PoeConfig, bankPowerLimit) == 16);
static_assert(offsetof(PoeConfig, port) == 48);

static_assert(sizeof(PoePortStatus) == 40);
static_assert(offsetof(PoePortStatus, operStatus) == 0);
static_assert(offsetof(PoePortStatus, detectionStatus) == 4);
static_assert(offsetof(PoePortStatus, powerClassification) == 8);
static_assert(offsetof(PoePortStatus, powerConsumption) == 12);
static_assert(offsetof(PoePortStatus, invalidSignatureCounter) == 16);
static_assert(offsetof(PoePortStatus, powerDeniedCounter) == 20);
static_assert(offsetof(PoePortStatus, overLoadCounter) == 24);
static_assert(offsetof(PoePortStatus, underLoadCounter) == 28);
static_assert(offsetof(PoePortStatus, shortCounter) == 32);
static_assert(offsetof(PoePortStatus, classErrorCounter) == 36);

static_assert(sizeof(PoeStatus) == 184);
static_assert(offsetof(PoeStatus, mainPower) == 0);
static_assert(offsetof(PoeStatus, mainOperStatus) == 4);
static_assert(offsetof(PoeStatus, reserved) == 8);
static_assert(offsetof(PoeStatus, mainConsumption) == 12);
static_assert(offsetof(PoeStatus, port) == 16);
static_assert(offsetof(PoeStatus, deviceTemperature) == 176);
static_assert(offsetof(PoeStatus, thermalShutdown) == 180);
static_assert(offsetof(PoeStatus, devError) == 181);

static_assert(sizeof(PoeConfigMessage) == 1124);
static_assert(sizeof(PoeStatusMessage) == 188);
