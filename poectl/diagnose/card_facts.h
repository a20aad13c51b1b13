// Facts that several verdicts share: pure functions of what has been seen.
#pragma once

#include "poectl/diagnose/card_looks.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

// The device reports of the first and the last look; empty reports without a console.
const SeenReport<DeviceReport>& firstDevice(const CardLooks& looks);
const SeenReport<DeviceReport>& lastDevice(const CardLooks& looks);

// Episodes of failed transfers since the service started, by the last look.
std::uint32_t busErrors(const CardLooks& looks);

// How many episodes of failed transfers the chip's report counted between the looks.
std::uint32_t grownErrors(const CardLooks& looks);

// Whether the channel report showed this in all looks, or in one of them. False without a look.
template <typename Line, typename Value>
bool channelAlways(const CardLooks& looks, unsigned port, Line line, Value value) {
  return !looks.free.empty() &&
         std::all_of(looks.free.begin(), looks.free.end(),
                     [&](const FreeReports& look) { return look.channel[port].is(line, value); });
}
template <typename Line, typename Value>
bool channelOnce(const CardLooks& looks, unsigned port, Line line, Value value) {
  return std::any_of(looks.free.begin(), looks.free.end(),
                     [&](const FreeReports& look) { return look.channel[port].is(line, value); });
}

// The channel report of the last look.
const SeenReport<ChannelReport>& lastChannel(const CardLooks& looks, unsigned port);

// Whether the port had power in one look and none in the next, with its device still there.
bool losesPower(const CardLooks& looks, unsigned port);

// Enabled by the configuration; nothing when the bus was not used.
std::optional<bool> isEnabled(const CardLooks& looks, unsigned port);
bool anyEnabled(const CardLooks& looks);

using Counter = std::uint32_t PoePortStatus::*;
std::uint32_t counterOf(const PoePortReport& report, Counter counter);
// Whether a counter has grown between the readings; false when it is not known.
bool hasGrown(const CardLooks& looks, unsigned port, Counter counter);
std::string quoteGrown(const CardLooks& looks, unsigned port, Counter counter);

// Whether the reports of the chip are of now: there is a console, and the last transfer was good.
bool chipAnswers(const CardLooks& looks);

// Whether the service replies, but has no line of the ports.
bool hasNoDriver(const CardLooks& looks);

// Whether something beyond the port explains that it has no power: supply, thermal shutdown, a bus that
// fails, a chip that is set up again and again, a FET error.
bool isHeldByTheCard(const CardLooks& looks, unsigned port);

bool isSupplyLow(const CardLooks& looks);
bool isSetUpAgain(const CardLooks& looks);
