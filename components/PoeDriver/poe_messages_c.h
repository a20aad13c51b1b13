// The messages exchanged with the card's main process, for C and C++: queues, ids, codes and records.
//
// A C program (C11) includes this header; a C++ program includes poe_messages.h, which takes all values and
// records from here.
//
// Every message is a 32-bit message id followed by its payload. All words are in the machine's byte order and
// the records have natural alignment; both sides depend on the offsets that are asserted below. The records
// own nothing.
#pragma once

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

// Inbound queue: created by this service at start-up, removed by it at exit.
#define POE_QUEUE_TO_POE "/queueToPoe"

// Outbound queue: created and removed by the main process.
#define POE_QUEUE_TO_MAIN "/queueToMain"

enum {
  POE_MSGID_CONFIG = 0,  // on POE_QUEUE_TO_POE, payload PoeConfig
  POE_MSGID_STATUS = 17, // on POE_QUEUE_TO_MAIN, payload PoeStatus
};

#define POE_PORTS 4U // ports are numbered 0 to 3
#define POE_BANKS 8U // power banks are numbered 0 to 7

// Values of PoePortStatus.operStatus, the detection states of RFC 3621.
enum {
  POE_OPER_DISABLED = 1,
  POE_OPER_SEARCHING = 2,
  POE_OPER_DELIVERINGPOWER = 3,
  POE_OPER_FAULT = 4,
  POE_OPER_TEST = 5, // never produced by this service
  POE_OPER_OTHERFAULT = 6,
};

// Values of PoePortStatus.detectionStatus: the chip's own codes, 0 to 7.
enum {
  POE_DETECTION_UNKNOWN = 0,
  POE_DETECTION_SHORT = 1,
  POE_DETECTION_CAPACITANCE_TOO_HIGH = 2,
  POE_DETECTION_RESISTANCE_TOO_LOW = 3,
  POE_DETECTION_GOOD = 4,
  POE_DETECTION_RESISTANCE_TOO_HIGH = 5,
  POE_DETECTION_OPEN_CIRCUIT = 6,
};

// Values of PoePortStatus.powerClassification: the class of RFC 3621, and 0 for none.
enum {
  POE_CLASS_NONE = 0,
  POE_CLASS_0 = 1,
  POE_CLASS_1 = 2,
  POE_CLASS_2 = 3,
  POE_CLASS_3 = 4,
  POE_CLASS_4 = 5,
};

// Values of PoeStatus.mainOperStatus.
enum {
  POE_MAIN_NOT_CHECKED = 0,
  POE_MAIN_RUNNING = 1,     // chip running and configured
  POE_MAIN_UNREACHABLE = 3, // chip absent, or its status cannot be read
};

typedef struct PoePortConfig {
  uint8_t adminEnable; // 0: switched off by the administrator; any other value: enabled
  uint8_t padding[3];
  uint32_t priority;            // 1 is served first, then 2, then 3
  uint32_t powerLimit;          // mW; 0 or above 40000 means 40000
  uint8_t furtherSettings[256]; // the main process's own; stored, never read
} PoePortConfig;

typedef struct PoeConfig {
  uint32_t unused[4];                 // the main process's own; stored, never read
  uint32_t bankPowerLimit[POE_BANKS]; // W; at most 161 is written to the chip
  PoePortConfig port[POE_PORTS];
} PoeConfig;

typedef struct PoePortStatus {
  uint32_t operStatus;
  uint32_t detectionStatus;
  uint32_t powerClassification;
  uint32_t powerConsumption; // W
  // Running counts since the service started, modulo 2^32.
  uint32_t invalidSignatureCounter;
  uint32_t powerDeniedCounter;
  uint32_t overLoadCounter;
  uint32_t underLoadCounter;
  uint32_t shortCounter;
  uint32_t classErrorCounter;
} PoePortStatus;

typedef struct PoeStatus {
  uint32_t mainPower; // W: limit of the active power bank
  uint32_t mainOperStatus;
  uint32_t reserved;        // 0
  uint32_t mainConsumption; // W: total consumption
  PoePortStatus port[POE_PORTS];
  int32_t deviceTemperature; // degrees Celsius
  uint8_t thermalShutdown;   // 1: the chip reports thermal shutdown
  uint8_t devError;          // 1: the last transfer failed when the device status was read
  uint8_t padding[2];        // 0
} PoeStatus;

typedef struct PoeConfigMessage {
  uint32_t msgId; // POE_MSGID_CONFIG
  PoeConfig config;
} PoeConfigMessage;

typedef struct PoeStatusMessage {
  uint32_t msgId; // POE_MSGID_STATUS
  PoeStatus status;
} PoeStatusMessage;

// static_assert is a keyword of C++ and a macro of <assert.h> in C11.
#define POE_ASSERT_SIZE(record, bytes) static_assert(sizeof(record) == (bytes), "size of " #record)
#define POE_ASSERT_OFFSET(record, field, bytes)                                                              \
  static_assert(offsetof(record, field) == (bytes), "offset of " #record "." #field)

POE_ASSERT_SIZE(PoePortConfig, 268);
POE_ASSERT_OFFSET(PoePortConfig, adminEnable, 0);
POE_ASSERT_OFFSET(PoePortConfig, priority, 4);
POE_ASSERT_OFFSET(PoePortConfig, powerLimit, 8);
POE_ASSERT_OFFSET(PoePortConfig, furtherSettings, 12);

POE_ASSERT_SIZE(PoeConfig, 1120);
POE_ASSERT_OFFSET(PoeConfig, unused, 0);
POE_ASSERT_OFFSET(PoeConfig, bankPowerLimit, 16);
POE_ASSERT_OFFSET(PoeConfig, port, 48);

POE_ASSERT_SIZE(PoePortStatus, 40);
POE_ASSERT_OFFSET(PoePortStatus, operStatus, 0);
POE_ASSERT_OFFSET(PoePortStatus, detectionStatus, 4);
POE_ASSERT_OFFSET(PoePortStatus, powerClassification, 8);
POE_ASSERT_OFFSET(PoePortStatus, powerConsumption, 12);
POE_ASSERT_OFFSET(PoePortStatus, invalidSignatureCounter, 16);
POE_ASSERT_OFFSET(PoePortStatus, powerDeniedCounter, 20);
POE_ASSERT_OFFSET(PoePortStatus, overLoadCounter, 24);
POE_ASSERT_OFFSET(PoePortStatus, underLoadCounter, 28);
POE_ASSERT_OFFSET(PoePortStatus, shortCounter, 32);
POE_ASSERT_OFFSET(PoePortStatus, classErrorCounter, 36);

POE_ASSERT_SIZE(PoeStatus, 184);
POE_ASSERT_OFFSET(PoeStatus, mainPower, 0);
POE_ASSERT_OFFSET(PoeStatus, mainOperStatus, 4);
POE_ASSERT_OFFSET(PoeStatus, reserved, 8);
POE_ASSERT_OFFSET(PoeStatus, mainConsumption, 12);
POE_ASSERT_OFFSET(PoeStatus, port, 16);
POE_ASSERT_OFFSET(PoeStatus, deviceTemperature, 176);
POE_ASSERT_OFFSET(PoeStatus, thermalShutdown, 180);
POE_ASSERT_OFFSET(PoeStatus, devError, 181);

POE_ASSERT_SIZE(PoeConfigMessage, 1124);
POE_ASSERT_SIZE(PoeStatusMessage, 188);

#undef POE_ASSERT_SIZE
#undef POE_ASSERT_OFFSET
