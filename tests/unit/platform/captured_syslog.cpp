#include "captured_syslog.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace {

std::mutex g_mutex;
std::condition_variable g_changed;
Log g_log;

} // namespace

extern "C" __attribute__((format(printf, 2, 3))) void __wrap_syslog(int priority, const char* format, ...) {
  std::array<char, 2048> text{};
  va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is not understood here.
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  const std::lock_guard<std::mutex> lock(g_mutex);
  g_log.push_back({priority, text.data()});
  g_changed.notify_all();
}

Log takeLog() {
  return awaitLog(0);
}

Log awaitLog(std::size_t count) {
  std::unique_lock<std::mutex> lock(g_mutex);
  g_changed.wait_for(lock, std::chrono::seconds(10), [count] { return g_log.size() >= count; });
  return std::exchange(g_log, {});
}
