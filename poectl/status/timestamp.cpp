#include "poectl/status/timestamp.h"

#include <cstdio>
#include <ctime>

std::chrono::system_clock::time_point currentTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const auto sinceEpoch = std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
  return std::chrono::system_clock::time_point(
      std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceEpoch));
}

std::string isoTime(std::chrono::system_clock::time_point time) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
  const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time - seconds);
  const std::time_t whole = std::chrono::system_clock::to_time_t(seconds);
  std::tm parts{};
  gmtime_r(&whole, &parts);
  char date[32];
  strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
  char text[48];
  snprintf(text, sizeof text, "%s.%03dZ", date, static_cast<int>(milliseconds.count()));
  return text;
}

std::string timeOfDay(std::chrono::system_clock::time_point time) {
  const std::time_t whole = std::chrono::system_clock::to_time_t(time);
  std::tm parts{};
  localtime_r(&whole, &parts);
  char text[16];
  strftime(text, sizeof text, "%H:%M:%S", &parts);
  return text;
}
