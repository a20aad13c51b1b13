// Facts that several verdicts share: pure functions of what has been seen.
#pragma once

#include "poectl/diagnose/card_looks.h"

#include <cstdint>
#include <optional>
#include <string>

// The device reports of the first and the last look; empty reports without a console.
const ReportLines& firstDevice(const CardLooks& looks);
const ReportLines& lastDevice(const CardLooks& looks);

// How many episodes of failed transfers the chip's report counted between the looks.
std::uint32_t grownErrors(const CardLooks& looks);

// Whether the channel report showed this in all looks, or in one of them. False without a look.
bool channelAlways(const CardLooks& looks, unsigned port, const char* label, const char* value);
bool channelOnce(const CardLooks& looks, unsigned port, const char* label, const char* value);
// The line of the last look, as evidence.
std::string quoteChannel(const CardLooks& looks, unsigned port, const char* label);

// Whether the port had no power in any look.
bool hasNoPower(const CardLooks& looks, unsigned port);

// Whether it had power in one look and none in the next, with its device still there.
bool losesPower(const CardLooks& looks, unsigned port);

// Enabled by the configuration; nothing when the bus was not used.
std::optional<bool> isEnabled(const CardLooks& looks, unsigned port);
bool anyEnabled(const CardLooks& looks);

// By how much a counter of "poeport" has grown; 0 when it is not known.
std::uint32_t grown(const CardLooks& looks, unsigned port, const char* counter);
std::string quoteGrown(const CardLooks& looks, unsigned port, const char* counter);

// Whether the reports of the chip are of now: there is a console, and the last transfer was good.
bool chipAnswers(const CardLooks& looks);

// Whether something beyond the port explains that it has no power: supply, thermal shutdown, a bus that
// fails, a chip that is set up again and again, a FET error.
bool isHeldByTheCard(const CardLooks& looks, unsigned port);

bool isSupplyLow(const CardLooks& looks);
bool isSetUpAgain(const CardLooks& looks);
