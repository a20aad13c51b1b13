// What the unit tests put in the place of the platform's sleep and watchdog: the sleep returns at once and
// lets the test act between two cycles, the watchdog only writes down what it is told.
#pragma once

#include <functional>
#include <string>
#include <vector>

// Called by BetterSleep in place of sleeping. An empty function makes it return at once.
void onSleep(std::function<void(double seconds)> action);

// What wdm_dbg writes instead of "state of NAME", as far as there is room, without a NUL when it fills the
// room. An empty text brings that back.
void setWatchdogText(const std::string& text);

// Every event of every watchdog client since the last call: "NAME created", "NAME start 60000", "NAME notify
// 0", "NAME deleted".
std::vector<std::string> takeWatchdogEvents();

// Called at each of these events, before it can be taken, and with "NAME asked" at wdm_dbg. An empty function
// ends that.
void onWatchdogEvent(std::function<void(const std::string& event)> action);
