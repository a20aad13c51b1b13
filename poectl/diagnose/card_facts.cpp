#include "poectl/diagnose/card_facts.h"

#include <algorithm>

namespace {

const ReportLines NO_REPORT;

} // namespace

const ReportLines& firstDevice(const CardLooks& looks) {
  return looks.free.empty() ? NO_REPORT : looks.free.front().device;
}

const ReportLines& lastDevice(const CardLooks& looks) {
  return looks.free.empty() ? NO_REPORT : looks.free.back().device;
}

std::uint32_t grownErrors(const CardLooks& looks) {
  const std::uint32_t before = firstDevice(looks).number("device errorcount").value_or(0);
  return std::max(lastDevice(looks).number("device errorcount").value_or(0), before) - before;
}

bool isBusFailing(const CardLooks& looks) {
  return lastDevice(looks).isTrue("dev_error") || grownErrors(looks) != 0 ||
         looks.log.of(LogEvent::BUS_ERROR).recent != 0;
}

bool channelAlways(const CardLooks& looks, unsigned port, const char* label, const char* value) {
  return !looks.free.empty() &&
         std::all_of(looks.free.begin(), looks.free.end(),
                     [&](const FreeReports& look) { return look.channel[port].is(label, value); });
}

bool channelOnce(const CardLooks& looks, unsigned port, const char* label, const char* value) {
  return std::any_of(looks.free.begin(), looks.free.end(),
                     [&](const FreeReports& look) { return look.channel[port].is(label, value); });
}

std::string quoteChannel(const CardLooks& looks, unsigned port, const char* label) {
  return looks.free.back().channel[port].quote(label);
}

bool hasNoPower(const CardLooks& looks, unsigned port) {
  return channelAlways(looks, port, "enable", "FALSE");
}

bool losesPower(const CardLooks& looks, unsigned port) {
  return std::adjacent_find(
             looks.free.begin(), looks.free.end(), [&](const FreeReports& before, const FreeReports& after) {
               return before.channel[port].isTrue("enable") && after.channel[port].is("enable", "FALSE") &&
                      !after.channel[port].is("det_status", "OPEN_CIRCUIT");
             }) != looks.free.end();
}

std::optional<bool> isEnabled(const CardLooks& looks, unsigned port) {
  if (!looks.bus || !looks.bus->port(port).has("admin enable")) {
    return std::nullopt;
  }
  return looks.bus->port(port).isTrue("admin enable");
}

bool anyEnabled(const CardLooks& looks) {
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if (isEnabled(looks, port).value_or(false)) {
      return true;
    }
  }
  return false;
}

std::uint32_t grown(const CardLooks& looks, unsigned port, const char* counter) {
  if (!looks.bus || looks.bus->later[port].empty()) {
    return 0;
  }
  const std::uint32_t before = looks.bus->first[port].number(counter).value_or(0);
  return std::max(looks.bus->later[port].number(counter).value_or(0), before) - before;
}

std::string quoteGrown(const CardLooks& looks, unsigned port, const char* counter) {
  return looks.bus->first[port].quote(counter) + ", some seconds later " +
         looks.bus->later[port].text(counter);
}

bool chipAnswers(const CardLooks& looks) {
  return looks.console == ConsoleState::REPORTS && !looks.free.empty() &&
         lastDevice(looks).is("dev_error", "FALSE");
}

bool isSupplyLow(const CardLooks& looks) {
  if (!looks.bus) {
    return false;
  }
  const auto supply = looks.bus->info.tenths("main voltage (V)");
  const auto minimum = looks.bus->info.tenths("min_shutdown_voltage");
  return supply && minimum && *supply < *minimum;
}

bool isSetUpAgain(const CardLooks& looks) {
  const bool hasMarker = looks.bus && looks.bus->info.number("- power_limit[7]").value_or(0) != 0;
  return hasMarker || looks.log.of(LogEvent::SET_UP_AGAIN).recent != 0;
}

bool isHeldByTheCard(const CardLooks& looks, unsigned port) {
  return !chipAnswers(looks) || isBusFailing(looks) || isSetUpAgain(looks) || isSupplyLow(looks) ||
         lastDevice(looks).isTrue("thermal shutdown") || channelOnce(looks, port, "fet_error", "TRUE") ||
         channelOnce(looks, port, "mosfet_overtemperature", "TRUE");
}
