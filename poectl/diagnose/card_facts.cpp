#include "poectl/diagnose/card_facts.h"

namespace {

const SeenReport<DeviceReport> NO_REPORT;

// Its place in STATUS_COUNTER.
std::size_t indexOf(Counter counter) {
  std::size_t index = 0;
  while (STATUS_COUNTER[index].member != counter) {
    index++;
  }
  return index;
}

std::uint32_t busErrorsOf(const SeenReport<DeviceReport>& device) {
  return device.values ? device.values->busErrors : 0;
}

} // namespace

const SeenReport<DeviceReport>& firstDevice(const CardLooks& looks) {
  return looks.free.empty() ? NO_REPORT : looks.free.front().device;
}

const SeenReport<DeviceReport>& lastDevice(const CardLooks& looks) {
  return looks.free.empty() ? NO_REPORT : looks.free.back().device;
}

const SeenReport<ChannelReport>& lastChannel(const CardLooks& looks, unsigned port) {
  return looks.free.back().channel[port];
}

std::uint32_t busErrors(const CardLooks& looks) {
  return busErrorsOf(lastDevice(looks));
}

std::uint32_t grownErrors(const CardLooks& looks) {
  const std::uint32_t before = busErrorsOf(firstDevice(looks));
  return std::max(busErrors(looks), before) - before;
}

bool isBusFailing(const CardLooks& looks) {
  return lastDevice(looks).is(DeviceLine::DEV_ERROR, true) || grownErrors(looks) != 0 ||
         looks.log.of(LogEvent::BUS_ERROR).recent != 0;
}

bool losesPower(const CardLooks& looks, unsigned port) {
  return std::adjacent_find(
             looks.free.begin(), looks.free.end(), [&](const FreeReports& before, const FreeReports& after) {
               return before.channel[port].is(ChannelLine::ENABLE, true) &&
                      after.channel[port].is(ChannelLine::ENABLE, false) &&
                      !after.channel[port].is(ChannelLine::DETECTION, DetectionStatus::OPEN_CIRCUIT);
             }) != looks.free.end();
}

std::optional<bool> isEnabled(const CardLooks& looks, unsigned port) {
  if (!looks.bus || !looks.bus->port(port).values) {
    return std::nullopt;
  }
  return looks.bus->port(port).values->enabled;
}

bool anyEnabled(const CardLooks& looks) {
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if (isEnabled(looks, port).value_or(false)) {
      return true;
    }
  }
  return false;
}

std::uint32_t counterOf(const PoePortReport& report, Counter counter) {
  return report.counters[indexOf(counter)];
}

bool hasGrown(const CardLooks& looks, unsigned port, Counter counter) {
  return looks.bus && looks.bus->first[port].values && looks.bus->later[port].values &&
         counterOf(*looks.bus->later[port].values, counter) >
             counterOf(*looks.bus->first[port].values, counter);
}

std::string quoteGrown(const CardLooks& looks, unsigned port, Counter counter) {
  const char* const label = STATUS_COUNTER[indexOf(counter)].name;
  return looks.bus->first[port].quote(label) + ", some seconds later " + looks.bus->later[port].text(label);
}

bool chipAnswers(const CardLooks& looks) {
  return looks.console == ConsoleState::REPORTS && lastDevice(looks).is(DeviceLine::DEV_ERROR, false);
}

bool hasNoDriver(const CardLooks& looks) {
  return !looks.free.empty() && lastChannel(looks, 0).text(ChannelLine::ENABLE).empty();
}

bool isSupplyLow(const CardLooks& looks) {
  return looks.bus && looks.bus->info.values &&
         looks.bus->info.values->mainVoltage < looks.bus->info.values->minShutdownVoltage;
}

bool isSetUpAgain(const CardLooks& looks) {
  return (looks.bus && looks.bus->showsMarker()) || looks.log.of(LogEvent::SET_UP_AGAIN).recent != 0;
}

bool isHeldByTheCard(const CardLooks& looks, unsigned port) {
  return !chipAnswers(looks) || isBusFailing(looks) || isSetUpAgain(looks) || isSupplyLow(looks) ||
         lastDevice(looks).is(DeviceLine::THERMAL_SHUTDOWN, true) ||
         channelOnce(looks, port, ChannelLine::FET_ERROR, true) ||
         channelOnce(looks, port, ChannelLine::HOT_MOSFET, true);
}
