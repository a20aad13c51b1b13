// What the driver writes about its state.
#pragma once

#include <string>

// The driver's state text with these values.
inline std::string driverInfo(const std::string& mode, const std::string& error, unsigned count,
                              const std::string& file = "31249", const std::string& adapter = "0") {
  return "==============\n"
         "PD69104 DRIVER\n"
         "==============\n"
         "m_HwOperationMode       : " +
         mode +
         "\n"
         "\n"
         "m_i2c_filename          : /dev/i2c-" +
         adapter +
         "\n"
         "m_i2c_adapter_nr        : " +
         adapter +
         "\n"
         "m_i2c_file              : " +
         file +
         "\n"
         "m_poeError              : " +
         error +
         "\n"
         "m_poeErrorCount         : " +
         std::to_string(count) + "\n";
}
