#include "poectl/diagnose/port_power.h"

#include "components/PoeDriver/power_limits.h"
#include "poectl/diagnose/card_facts.h"

#include <algorithm>
#include <iterator>

namespace {

// W by the code of a class: IEEE 802.3 clause 33, at the port.
constexpr std::uint32_t CLASS_WATTS[] = {0, 15, 4, 7, 15, 30};
static_assert(PowerClassification::NONE == 0 && PowerClassification::CLASS4 + 1 == std::size(CLASS_WATTS));

std::uint32_t bankLimitOf(const CardLooks& looks) {
  return looks.bus->info.values ? looks.bus->info.values->bankLimit : 0;
}

std::uint32_t portLimitOf(const SeenReport<PoePortReport>& port) {
  return port.values ? port.values->limit.value_or(0) : 0;
}

template <typename Report, typename Line>
std::optional<PowerClass> classIn(const SeenReport<Report>& report, const Line& line) {
  return !report.values || report.is(line, PowerClassification::NONE)
             ? std::nullopt
             : std::make_optional(PowerClass{report.text(line), CLASS_WATTS[(*report.values).*line.value]});
}

PoeConfig shownConfiguration(const BusReports& bus, bool maximumCounts) {
  PoeConfig config{};
  for (unsigned port = 0; port < POE_PORTS; port++) {
    const SeenReport<PoePortReport>& report = bus.port(port);
    const std::uint32_t limitMw = 1000 * portLimitOf(report);
    config.port[port].adminEnable = report.is(PoePortLine::ENABLE, true) ? 1 : 0;
    config.port[port].powerLimit = !maximumCounts && limitMw == MAX_PORT_LIMIT_MW ? 0 : limitMw;
    config.port[port].priority = report.values ? report.values->priority.value_or(1) : 1;
  }
  return config;
}

// By the service's own rule. A port that it restarts is without power in every second cycle, so one look in
// which the port had power counts.
bool isRestarted(const CardLooks& looks, unsigned port, const PoeConfig& config) {
  const std::uint32_t bankLimit = bankLimitOf(looks);
  if (neededPowerW(config) <= bankLimit) {
    return false;
  }
  PortPowerStates states{};
  for (unsigned other = 0; other < POE_PORTS; other++) {
    const bool good = channelOnce(looks, other, ChannelLine::DETECTION, DetectionStatus::GOOD);
    states[other] = {good ? DetectionStatus::GOOD : DetectionStatus::UNKNOWN,
                     channelOnce(looks, other, ChannelLine::ENABLE, true)};
  }
  const PowerDecisions decisions = decidePower(config, bankLimit, states);
  return std::any_of(decisions.begin(), decisions.end(), [&](const PowerDecision& decision) {
    return decision.port == port && decision.verdict == PowerVerdict::RESTARTED;
  });
}

} // namespace

std::optional<PowerClass> classOf(const CardLooks& looks, unsigned port) {
  for (auto look = looks.free.rbegin(); look != looks.free.rend(); ++look) {
    if (auto seen = classIn(look->channel[port], ChannelLine::CLASSIFICATION)) {
      return seen;
    }
  }
  return looks.bus ? classIn(looks.bus->port(port), PoePortLine::CLASSIFICATION) : std::nullopt;
}

std::uint32_t leftByOthers(const CardLooks& looks, unsigned port) {
  std::uint32_t drawn = 0;
  for (unsigned other = 0; other < POE_PORTS; other++) {
    const std::optional<PoePortReport>& report = looks.bus->port(other).values;
    drawn += other != port && report && report->measurements ? report->measurements->consumption : 0;
  }
  const std::uint32_t limit = bankLimitOf(looks);
  return limit - std::min(limit, drawn);
}

Denial denialOf(const CardLooks& looks, unsigned port) {
  const std::optional<PowerClass> seen = classOf(looks, port);
  if (!seen || !hasGrown(looks, port, &PoePortStatus::powerDeniedCounter)) {
    return Denial::NONE;
  }
  const std::uint32_t limit = portLimitOf(looks.bus->port(port));
  const std::uint32_t left = leftByOthers(looks, port);
  if (std::min(limit, left) >= seen->watts) {
    return Denial::DEVICE;
  }
  return limit <= left ? Denial::PORT_LIMIT : Denial::BANK_LIMIT;
}

bool isRestartedByLimits(const CardLooks& looks, unsigned port) {
  if (!looks.bus || !looks.bus->info.values) {
    return false;
  }
  return isRestarted(looks, port, shownConfiguration(*looks.bus, false)) ||
         (losesPower(looks, port) && isRestarted(looks, port, shownConfiguration(*looks.bus, true)));
}
