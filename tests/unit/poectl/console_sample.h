// Reports as the console prints them.
#pragma once

#include <string>

namespace console_sample {

inline const std::string INFO = "\n==============\npd69104 Engine\n==============\n\n"
                                "m_state                 = ACTIVE\n\n"
                                "watchdog client         : PoeEngine\n"
                                "time-out (ms)           : 60000\n"
                                "last fed (ms ago)       : 716\n"
                                "state                   : IN TIME\n\n"
                                "==============\nPD69104 DRIVER\n==============\n"
                                "m_HwOperationMode       : NORMAL\n\n"
                                "m_i2c_filename          : /dev/i2c-0\n"
                                "m_i2c_adapter_nr        : 0\n"
                                "m_i2c_file              : 7\n"
                                "m_poeError              : FALSE\n"
                                "m_poeErrorCount         : 3\n"
                                "main voltage (V)        = 54.1\n"
                                "power_consumption       = 28\n"
                                "min_shutdown_voltage    = 44.2\n"
                                "PM calculation static   = TRUE\n"
                                "power_bank              = 2\n"
                                "power_limit (this bank) = 100\n"
                                "power_bank settings:\n"
                                "  - power_limit[0] = 10\n"
                                "  - power_limit[1] = 11\n"
                                "  - power_limit[2] = 100\n"
                                "  - power_limit[3] = 13\n"
                                "  - power_limit[4] = 14\n"
                                "  - power_limit[5] = 15\n"
                                "  - power_limit[6] = 16\n"
                                "  - power_limit[7] = 0\n\n";

inline const std::string DEVICE = "device status\n=============\n"
                                  "  device_id               = 2\n"
                                  "  device revision         = 1\n"
                                  "  temperature             = -5\n"
                                  "  thermal shutdown        = FALSE\n"
                                  "  dev_error               = TRUE\n"
                                  "  device errorcount       = 3\n\n";

inline const std::string CHANNEL = "channel 1\n============\n"
                                   "  enable                  = TRUE\n"
                                   "  power_good              = FALSE\n"
                                   "  det_status              = GOOD\n"
                                   "  pclass                  = CLASS_4\n"
                                   "  fet_error               = FALSE\n"
                                   "  mosfet_overtemperature  = TRUE\n"
                                   "  in_pm_mode              = FALSE\n"
                                   "  passed_MSCC_cap_det     = FALSE\n"
                                   "  det_fail                = TRUE\n\n";

inline const std::string POEPORT_STATE = "channel 1\n============\n"
                                         "  admin enable              = TRUE\n"
                                         "  Oper status               = DELIVERINGPOWER\n"
                                         "  powerClassification       = CLASS4\n";
inline const std::string POEPORT_LIMITS = "  port power limit (W)      = 30\n"
                                          "  temp port power limit (W) = 7\n";
inline const std::string POEPORT_PRIORITY = "  priority                  = 1\n";
inline const std::string POEPORT_MEASUREMENTS = "  main voltage (dV)         = 541\n"
                                                "  port_voltage (dV)         = 538\n"
                                                "  port_current (mA)         = 407\n"
                                                "  power_consumption (W)     = 22\n";
inline const std::string POEPORT_COUNTERS = "\n"
                                            "  invalidSignatureCounter   = 1\n"
                                            "  powerDeniedCounter        = 2\n"
                                            "  overLoadCounter           = 3\n"
                                            "  underLoadCounter          = 4\n"
                                            "  shortCounter              = 5\n"
                                            "  classErrorCounter         = 4294967295\n\n\n";
inline const std::string POEPORT =
    POEPORT_STATE + POEPORT_LIMITS + POEPORT_PRIORITY + POEPORT_MEASUREMENTS + POEPORT_COUNTERS;

} // namespace console_sample
