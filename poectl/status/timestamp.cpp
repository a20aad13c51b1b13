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

std::optional<std::chrono::system_clock::time_point> timeFromIso(const std::string& text) {
  constexpr int FIRST_YEAR = 1970;
  constexpr int LAST_YEAR = 2149; // the clock's type ends in 2262; a century is left to add to a time
  std::tm parts{};
  int milliseconds = 0;
  if (std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%3dZ", &parts.tm_year, &parts.tm_mon, &parts.tm_mday,
                  &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &milliseconds) != 7 ||
      parts.tm_year < FIRST_YEAR || parts.tm_year > LAST_YEAR) {
    return {};
  }
  parts.tm_year -= 1900;
  parts.tm_mon -= 1;
  const std::chrono::system_clock::time_point time(std::chrono::seconds(timegm(&parts)) +
                                                   std::chrono::milliseconds(milliseconds));
  return isoTime(time) == text ? std::optional(time) : std::nullopt; // else it is written in another way
}

std::string timeOfDay(std::chrono::system_clock::time_point time) {
  const std::time_t whole = std::chrono::system_clock::to_time_t(time);
  std::tm parts{};
  localtime_r(&whole, &parts);
  char text[16];
  strftime(text, sizeof text, "%H:%M:%S", &parts);
  return text;
}
