// The system's log as a test sees it: the other end of /dev/log, where syslog(3) writes.
#pragma once

#include <chrono>
#include <string>

class SystemLog {
public:
  SystemLog();
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;
  ~SystemLog();

  // What has come since the last call: for each line its priority, as in "<6> ", and the text; a line that
  // has no line end gets one. Lines of other programs than the service keep their program's name.
  std::string take();

  // Takes lines until `text` is among them; they are what is returned. Without it in time, what has come till
  // then.
  std::string takeUntil(const std::string& text, std::chrono::seconds timeout);

  // The time that syslog(3) gave the line that came last, as in "Jan  1 00:00:05".
  const std::string& timeOfLastLine() const { return m_timeOfLastLine; }

private:
  std::string receive(int timeout); // ms; empty when nothing came

  int m_socket;
  std::string m_timeOfLastLine;
};
