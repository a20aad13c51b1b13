#include "poectl/diagnose/port_power.h"

#include "components/PoeDriver/power_limits.h"
#include "poectl/diagnose/card_facts.h"

#include <algorithm>
#include <array>

namespace {

constexpr const char* BANK_LIMIT = "power_limit (this bank)";
constexpr const char* PORT_LIMIT = "port power limit (W)";

struct ClassPower {
  const char* word;
  std::uint32_t watts;
};

// IEEE 802.3 clause 33, at the port.
constexpr std::array<ClassPower, 5> CLASS_POWERS = {
    {{"CLASS0", 15}, {"CLASS1", 4}, {"CLASS2", 7}, {"CLASS3", 15}, {"CLASS4", 30}}};

PoeConfig shownConfiguration(const BusReports& bus, bool maximumCounts) {
  PoeConfig config{};
  for (unsigned port = 0; port < POE_PORTS; port++) {
    const ReportLines& report = bus.port(port);
    const std::uint32_t limitMw = 1000 * report.number(PORT_LIMIT).value_or(0);
    config.port[port].adminEnable = report.isTrue("admin enable") ? 1 : 0;
    config.port[port].powerLimit = !maximumCounts && limitMw == MAX_PORT_LIMIT_MW ? 0 : limitMw;
    config.port[port].priority = report.number("priority").value_or(0) + 1;
  }
  return config;
}

// By the service's own rule. A port that it restarts is without power in every second cycle, so one look in
// which the port had power counts.
bool isRestarted(const CardLooks& looks, unsigned port, const PoeConfig& config) {
  const std::uint32_t bankLimit = looks.bus->info.number(BANK_LIMIT).value_or(0);
  if (neededPowerW(config) <= bankLimit) {
    return false;
  }
  PortPowerStates states{};
  for (unsigned other = 0; other < POE_PORTS; other++) {
    const bool good = channelOnce(looks, other, "det_status", "GOOD");
    states[other] = {good ? DetectionStatus::GOOD : DetectionStatus::UNKNOWN,
                     channelOnce(looks, other, "enable", "TRUE")};
  }
  const PowerDecisions decisions = decidePower(config, bankLimit, states);
  return std::any_of(decisions.begin(), decisions.end(), [&](const PowerDecision& decision) {
    return decision.port == port && decision.verdict == PowerVerdict::RESTARTED;
  });
}

} // namespace

std::optional<std::uint32_t> classWatts(const std::string& word) {
  std::string bare = word;
  bare.erase(std::remove(bare.begin(), bare.end(), '_'), bare.end());
  const auto found = std::find_if(CLASS_POWERS.begin(), CLASS_POWERS.end(),
                                  [&](const ClassPower& row) { return bare == row.word; });
  return found == CLASS_POWERS.end() ? std::nullopt : std::make_optional(found->watts);
}

std::string classOf(const CardLooks& looks, unsigned port) {
  for (auto look = looks.free.rbegin(); look != looks.free.rend(); ++look) {
    std::string word = look->channel[port].text("pclass");
    if (classWatts(word)) {
      return word;
    }
  }
  return looks.bus ? looks.bus->port(port).text("powerClassification") : "";
}

std::uint32_t leftByOthers(const CardLooks& looks, unsigned port) {
  const std::uint32_t limit = looks.bus->info.number(BANK_LIMIT).value_or(0);
  std::uint32_t drawn = 0;
  for (unsigned other = 0; other < POE_PORTS; other++) {
    drawn += other == port ? 0 : looks.bus->port(other).number("power_consumption (W)").value_or(0);
  }
  return limit - std::min(limit, drawn);
}

Denial denialOf(const CardLooks& looks, unsigned port) {
  const auto watts = classWatts(classOf(looks, port));
  if (grown(looks, port, "powerDeniedCounter") == 0 || !watts) {
    return Denial::NONE;
  }
  const std::uint32_t limit = looks.bus->port(port).number(PORT_LIMIT).value_or(0);
  const std::uint32_t left = leftByOthers(looks, port);
  if (std::min(limit, left) >= *watts) {
    return Denial::DEVICE;
  }
  return limit <= left ? Denial::PORT_LIMIT : Denial::BANK_LIMIT;
}

bool isRestartedByLimits(const CardLooks& looks, unsigned port) {
  if (!looks.bus || !looks.bus->info.has(BANK_LIMIT)) {
    return false;
  }
  return isRestarted(looks, port, shownConfiguration(*looks.bus, false)) ||
         (losesPower(looks, port) && isRestarted(looks, port, shownConfiguration(*looks.bus, true)));
}
