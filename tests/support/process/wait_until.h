// Waiting for something that must happen.
#pragma once

#include <chrono>
#include <thread>

constexpr std::chrono::seconds MAX_WAIT{20};

// The most that something may take which waits for nothing, also at low priority on a busy machine. What it
// must not wait for takes 10 s or more.
constexpr std::chrono::seconds AT_ONCE{5};

// Repeats a test until it holds or MAX_WAIT has passed.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds interval = std::chrono::milliseconds(5)) {
  const auto end = std::chrono::steady_clock::now() + MAX_WAIT;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(interval);
  }
  return true;
}
