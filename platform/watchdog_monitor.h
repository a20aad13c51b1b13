// A client of the software watchdog: a thread that must feed it in time.
//
// A client is supervised from wdm_start on until it is destroyed. All operations may be called from any
// thread; the owner must not destroy a client while another thread is in one of its operations.
#pragma once

#include <cstdint>
#include <string>

class watchdogMonitor {
public:
  // `name` appears in the watchdog's reports, cut at 31 bytes. The client is not supervised yet. Needs no
  // memory beside the object's own.
  explicit watchdogMonitor(const std::string& name) noexcept;
  watchdogMonitor(const watchdogMonitor&) = delete;
  watchdogMonitor& operator=(const watchdogMonitor&) = delete;
  virtual ~watchdogMonitor();

  // Starts the supervision: from now on at most `milliseconds` may pass between two calls of wdm_notify. The
  // start counts as the first. Calling it again sets a new time-out and feeds the watchdog.
  void wdm_start(unsigned milliseconds);

  // Feeds the watchdog. `code` is for the caller's own use; 0 means that all is well.
  void wdm_notify(int code);

  // Writes the client's state as text lines into `buffer`, cut at `length` - 1 characters and always ended by
  // NUL. Nothing is written when `buffer` is null or `length` is 0.
  void wdm_dbg(char* buffer, unsigned length) const;

private:
  class Client;
  Client& client();
  const Client& client() const;

  alignas(std::uint64_t) unsigned char m_client[96]; // holds a Client
};
