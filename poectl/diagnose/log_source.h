// Where the log of the service is: a file that the user names, the system's log file, or the journal.
#pragma once

#include "poectl/diagnose/service_log.h"

#include <memory>
#include <string>

class LogSource {
public:
  LogSource() = default;
  LogSource(const LogSource&) = delete;
  LogSource& operator=(const LogSource&) = delete;
  virtual ~LogSource() = default;

  // "/var/log/syslog" or "journalctl -u poe-service".
  virtual std::string name() const = 0;
  // The lines of the service at the end of the log when it was opened.
  virtual std::string text() const = 0;
  // Those that have come since. Throws LogError.
  virtual std::string added() = 0;
};

// Opens the file, or, when `path` is empty, the first of the places that can be read and has lines of the
// service. Throws LogError.
std::unique_ptr<LogSource> openLog(const std::string& path);

// Only the lines of the service: those that name poe_service, or that begin with a priority as poe_card --log
// writes them. A system log also has the lines of other programs, which are none of our business.
std::string serviceLines(const std::string& text);
