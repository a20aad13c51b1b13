// The messages exchanged with the card's main process over POSIX message queues.
//
// The records and the values are those of poe_messages_c.h, which C programs include; this header gives the
// values types and scopes.
#pragma once

#include "poe_messages_c.h"

#include <cstdint>

// Inbound queue: created by this service at start-up, removed by it at exit.
constexpr char QUEUE_TO_POE[] = POE_QUEUE_TO_POE;
constexpr long QUEUE_TO_POE_MESSAGES = 10;
constexpr long QUEUE_TO_POE_MESSAGE_SIZE = 2000; // bytes

// Outbound queue: created and removed by the main process.
constexpr char QUEUE_TO_MAIN[] = POE_QUEUE_TO_MAIN;

constexpr std::uint32_t MSGID_CONFIG = POE_MSGID_CONFIG; // on QUEUE_TO_POE, payload PoeConfig
constexpr std::uint32_t MSGID_STATUS = POE_MSGID_STATUS; // on QUEUE_TO_MAIN, payload PoeStatus

// The debug console: a TCP port of the loopback addresses.
constexpr std::uint16_t CONSOLE_PORT = 10001;

// Values of PoePortStatus::operStatus, the detection states of RFC 3621.
namespace OperStatus {
constexpr std::uint32_t DISABLED = POE_OPER_DISABLED;
constexpr std::uint32_t SEARCHING = POE_OPER_SEARCHING;
constexpr std::uint32_t DELIVERINGPOWER = POE_OPER_DELIVERINGPOWER;
constexpr std::uint32_t FAULT = POE_OPER_FAULT;
constexpr std::uint32_t TEST = POE_OPER_TEST; // never produced by this service
constexpr std::uint32_t OTHERFAULT = POE_OPER_OTHERFAULT;
} // namespace OperStatus

// Values of PoePortStatus::detectionStatus: the chip's own codes, 0 to 7.
namespace DetectionStatus {
constexpr std::uint32_t UNKNOWN = POE_DETECTION_UNKNOWN;
constexpr std::uint32_t SHORT = POE_DETECTION_SHORT;
constexpr std::uint32_t CAPACITANCE_TOO_HIGH = POE_DETECTION_CAPACITANCE_TOO_HIGH;
constexpr std::uint32_t RESISTANCE_TOO_LOW = POE_DETECTION_RESISTANCE_TOO_LOW;
constexpr std::uint32_t GOOD = POE_DETECTION_GOOD;
constexpr std::uint32_t RESISTANCE_TOO_HIGH = POE_DETECTION_RESISTANCE_TOO_HIGH;
constexpr std::uint32_t OPEN_CIRCUIT = POE_DETECTION_OPEN_CIRCUIT;
} // namespace DetectionStatus

// Values of PoePortStatus::powerClassification: the class of RFC 3621, and 0 for none.
namespace PowerClassification {
constexpr std::uint32_t NONE = POE_CLASS_NONE;
constexpr std::uint32_t CLASS0 = POE_CLASS_0;
constexpr std::uint32_t CLASS1 = POE_CLASS_1;
constexpr std::uint32_t CLASS2 = POE_CLASS_2;
constexpr std::uint32_t CLASS3 = POE_CLASS_3;
constexpr std::uint32_t CLASS4 = POE_CLASS_4;
} // namespace PowerClassification

// Values of PoeStatus::mainOperStatus.
namespace MainOperStatus {
constexpr std::uint32_t NOT_CHECKED = POE_MAIN_NOT_CHECKED;
constexpr std::uint32_t RUNNING = POE_MAIN_RUNNING;         // chip running and configured
constexpr std::uint32_t UNREACHABLE = POE_MAIN_UNREACHABLE; // chip absent, or its status cannot be read
} // namespace MainOperStatus
