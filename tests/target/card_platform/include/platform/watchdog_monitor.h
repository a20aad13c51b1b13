#pragma once

class watchdogMonitor {
public:
  explicit watchdogMonitor(const char* name);
  virtual ~watchdogMonitor();
  void wdm_start(unsigned milliseconds);
  void wdm_notify(int code);
  void wdm_dbg(char* buffer, unsigned length) const;
};
