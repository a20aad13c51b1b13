// The words for the codes that the chip and the status message use, as the debug console writes them. Each
// table begins with the word for code 0.
#pragma once

// PoePortStatus::operStatus
constexpr const char* OPER_STATUS_WORDS[] = {"ILLEGAL", "DISABLED", "SEARCHING", "DELIVERINGPOWER",
                                             "FAULT",   "TEST",     "OTHERFAULT"};

// PoePortStatus::detectionStatus and ChannelStatus::det_status
constexpr const char* DETECTION_WORDS[] = {"UNKNOWN", "SHORT",         "CPD_TOO_HIGH", "RSIG_TOO_LOW",
                                           "GOOD",    "RSIG_TOO_HIGH", "OPEN_CIRCUIT"};

// PoePortStatus::powerClassification
constexpr const char* CLASSIFICATION_WORDS[] = {"NONE", "CLASS0", "CLASS1", "CLASS2", "CLASS3", "CLASS4"};

// ChannelStatus::pclass, the chip's own codes
constexpr const char* CHIP_CLASS_WORDS[] = {"UNKNOWN", "CLASS_1",        "CLASS_2", "CLASS_3",
                                            "CLASS_4", "CLASS_RESERVED", "CLASS_0", "CLASS_OVERCURRENT"};

// A code that has no word in its table.
constexpr const char* ILLEGAL_CODE = "ILLEGAL";
