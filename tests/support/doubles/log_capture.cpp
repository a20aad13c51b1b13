#include "tests/support/doubles/log_capture.h"

#include "tests/support/doubles/allocation.h"

#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {

std::mutex mutex;
std::condition_variable added;
LogLines captured;
std::condition_variable stopped;
bool isStopped = false;
unsigned waiting = 0;

[[gnu::format(printf, 1, 0)]] std::string formatted(const char* format, va_list arguments) {
  char text[4096];
  const int length = vsnprintf(text, sizeof text, format, arguments);
  return length < static_cast<int>(sizeof text) ? text : "(line too long for the capture)";
}

} // namespace

extern "C" [[gnu::format(printf, 2, 3)]] void __wrap_syslog(int priority, const char* format, ...) {
  const UncountedAllocations uncounted;
  va_list arguments;
  va_start(arguments, format);
  std::unique_lock<std::mutex> lock(mutex);
  waiting++;
  stopped.notify_all();
  stopped.wait(lock, [] { return !isStopped; });
  waiting--;
  captured.push_back({priority, formatted(format, arguments)});
  va_end(arguments);
  added.notify_all();
}

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << "<" << line.priority << ">" << ::testing::PrintToString(line.text);
}

LogLines takeLog() {
  return awaitLog(0);
}

LogLines awaitLog(std::size_t count) {
  std::unique_lock<std::mutex> lock(mutex);
  added.wait_for(lock, std::chrono::seconds(10), [count] { return captured.size() >= count; });
  LogLines lines;
  lines.swap(captured);
  return lines;
}

StoppedLog::StoppedLog() {
  const std::lock_guard<std::mutex> lock(mutex);
  isStopped = true;
}

StoppedLog::~StoppedLog() {
  const std::lock_guard<std::mutex> lock(mutex);
  isStopped = false;
  stopped.notify_all();
}

unsigned StoppedLog::awaitWriter() {
  std::unique_lock<std::mutex> lock(mutex);
  stopped.wait_for(lock, std::chrono::seconds(10), [] { return waiting > 0; });
  return waiting;
}

LogLines softwareError(const std::string& source, int line, const std::string& message) {
  return {{3, "SWERR ERROR DETECTED: components/PoeDriver/" + source + " " + std::to_string(line) + " "},
          {3, message}};
}

LogLines operator+(LogLines first, const LogLines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}
