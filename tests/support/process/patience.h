// Waiting for something that must happen.
#pragma once

#include <chrono>
#include <thread>

constexpr std::chrono::seconds PATIENCE{20};

// Repeats a test until it holds or the patience is at its end.
template <typename Condition>
bool waitUntil(Condition condition) {
  constexpr std::chrono::milliseconds POLL_INTERVAL{5};
  const auto end = std::chrono::steady_clock::now() + PATIENCE;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(POLL_INTERVAL);
  }
  return true;
}
