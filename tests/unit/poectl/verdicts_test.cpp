// The verdicts of `poectl diagnose` on reports as the console prints them, and on lines of the log.
#include "poectl/diagnose/verdicts.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>

namespace {

const std::string DEVICE = "device status\n=============\n"
                           "  device_id               = 2\n"
                           "  device revision         = 1\n"
                           "  temperature             = 40\n"
                           "  thermal shutdown        = FALSE\n"
                           "  dev_error               = FALSE\n"
                           "  device errorcount       = 0\n\n";
const std::string CHANNEL = "channel 0\n============\n"
                            "  enable                  = TRUE\n"
                            "  power_good              = TRUE\n"
                            "  det_status              = GOOD\n"
                            "  pclass                  = CLASS_3\n"
                            "  fet_error               = FALSE\n"
                            "  mosfet_overtemperature  = FALSE\n"
                            "  in_pm_mode              = FALSE\n"
                            "  passed_MSCC_cap_det     = FALSE\n"
                            "  det_fail                = FALSE\n\n";
const std::string INFO = "m_state                 = ACTIVE\n\n"
                         "watchdog client         : PoeEngine\n"
                         "time-out (ms)           : 60000\n"
                         "last fed (ms ago)       : 716\n"
                         "state                   : IN TIME\n\n"
                         "m_poeError              : FALSE\n"
                         "main voltage (V)        = 54.0\n"
                         "min_shutdown_voltage    = 44.1\n"
                         "power_bank              = 0\n"
                         "power_limit (this bank) = 100\n"
                         "  - power_limit[0] = 100\n"
                         "  - power_limit[7] = 0\n";
const std::string POEPORT = "channel 0\n============\n"
                            "  admin enable              = TRUE\n"
                            "  Oper status               = DELIVERINGPOWER\n"
                            "  powerClassification       = CLASS3\n"
                            "  port power limit (W)      = 15\n"
                            "  temp port power limit (W) = 0\n"
                            "  priority                  = 0\n"
                            "  power_consumption (W)     = 12\n\n"
                            "  powerDeniedCounter        = 0\n"
                            "  overLoadCounter           = 0\n"
                            "  underLoadCounter          = 0\n"
                            "  shortCounter              = 0\n"
                            "  classErrorCounter         = 0\n";

// A report in which the line of this label has another value.
std::string with(const std::string& report, const std::string& label, const std::string& value) {
  const std::size_t line = report.find(label + " ");
  EXPECT_NE(line, std::string::npos) << label;
  const std::size_t start = report.find_first_of("=:", line) + 2;
  return report.substr(0, start) + value + report.substr(report.find('\n', start));
}

std::string placed(const char* report, unsigned port) {
  return report + (" " + std::to_string(port));
}

CardLooks healthyCard() {
  CardLooks looks;
  looks.bus.emplace();
  looks.bus->info = ReportLines("info", INFO);
  looks.bus->mode = 0xFF;
  looks.bus->detection = 0xFF;
  FreeReports look;
  look.device = ReportLines("device", DEVICE);
  for (unsigned port = 0; port < POE_PORTS; port++) {
    look.channel[port] = ReportLines(placed("channel", port), CHANNEL);
    looks.bus->first[port] = ReportLines(placed("poeport", port), POEPORT);
    looks.bus->later[port] = looks.bus->first[port];
  }
  looks.free = {look, look};
  looks.status.exists = true;
  looks.status.maxMessages = 10;
  looks.status.readers.found.push_back({812, "main"});
  looks.statusFirst = looks.status;
  return looks;
}

void setDevice(CardLooks& looks, const std::string& label, const std::string& value) {
  for (FreeReports& look : looks.free) {
    look.device = ReportLines("device", with(DEVICE, label, value));
  }
}

void setChannel(CardLooks& looks, const std::string& report) {
  for (FreeReports& look : looks.free) {
    look.channel[2] = ReportLines("channel 2", report);
  }
}

void grow(CardLooks& looks, const std::string& counter) {
  looks.bus->later[2] = ReportLines("poeport 2", with(POEPORT, counter, "3"));
}

const std::string NO_POWER = with(CHANNEL, "enable", "FALSE");

struct Case {
  const char* name;
  std::function<void(CardLooks&)> change; // of a healthy card
  std::vector<std::string> verdicts;
  const char* evidence; // of the first one
};

// The name of the test.
void PrintTo(const Case& test, std::ostream* out) {
  *out << test.name;
}

const Case CASES[] = {
    {"HealthyCard", [](CardLooks&) {}, {}, ""},
    {"HealthyCardWithoutTheBus",
     [](CardLooks& looks) {
       looks.bus.reset();
       setChannel(looks, with(NO_POWER, "det_status", "UNKNOWN"));
     },
     {},
     ""},
    {"SomeEarlierBusErrors", [](CardLooks& looks) { setDevice(looks, "device errorcount", "2"); }, {}, ""},
    {"ManyEarlierBusErrors",
     [](CardLooks& looks) { setDevice(looks, "device errorcount", "3"); },
     {"bus-errors-earlier"},
     "device: device errorcount = 3"},
    {"BusErrorsInTheLogOnly",
     [](CardLooks& looks) { looks.log.add("Failed reading device at address 0x90\n", true); },
     {"bus-errors"},
     "device: device errorcount = 0, some seconds later 0; log: 1 line between the looks: Failed reading "
     "device at "
     "address 0x90"},
    {"ChipSetUpAgainWithoutBusErrors",
     [](CardLooks& looks) {
       looks.log.add("PD69104 POE chip not initialised, excuting (re)init now!!\n", true);
     },
     {"set-up-again"},
     "log: 1 line between the looks: PD69104 POE chip not initialised, excuting (re)init now!!"},
    {"ChipSetUpAgainBeforeTheServiceStarted",
     [](CardLooks& looks) {
       for (int line = 0; line < 5; line++) {
         looks.log.add("PD69104 POE chip not initialised, excuting (re)init now!!\n", false);
       }
       looks.log.add(" [INFO] main:80 (main) - Card is ready\n", false);
     },
     {},
     ""},
    {"PowerOnValueOfBank7",
     [](CardLooks& looks) {
       looks.bus->info = ReportLines("info", with(INFO, "- power_limit[7]", "144"));
       looks.bus->marker = 0;
     },
     {"set-up-again"},
     "info: - power_limit[7] = 144, some seconds later 0"},
    {"NoDriver",
     [](CardLooks& looks) {
       looks.bus.reset();
       for (FreeReports& look : looks.free) {
         look.channel.fill(ReportLines("channel", "No POE device found\n"));
       }
     },
     {"no-driver"},
     "channel 0: no line 'enable'"},
    {"IdleEngine",
     [](CardLooks& looks) { looks.bus->info = ReportLines("info", with(INFO, "m_state", "IDLE")); },
     {"engine-idle"},
     "info: m_state = IDLE"},
    {"LateWatchdog",
     [](CardLooks& looks) { looks.bus->info = ReportLines("info", with(INFO, "\nstate", "LATE")); },
     {"watchdog-late"},
     "info: state = LATE, last fed (ms ago) = 716"},
    {"StatusQueueLeftOver",
     [](CardLooks& looks) { looks.status.readers.found.clear(); },
     {"status-unread"},
     "/queueToMain 0 of 10 messages wait, nobody reads it"},
    {"StatusQueueFullInOneLook", [](CardLooks& looks) { looks.status.messages = 10; }, {}, ""},
    {"StatusNotSent",
     [](CardLooks& looks) { looks.log.add("msgsnd failure: Connection timed out\n", true); },
     {"status-unread"},
     "/queueToMain 0 of 10 messages wait, process 812 (main) reads it; log: 1 line between the looks: msgsnd "
     "failure: Connection timed out"},
    {"AuditRestartsInTheLogOnly",
     [](CardLooks& looks) { looks.log.add("CPD69104Engine::audit restarting Port 1\n", true); },
     {"limits-above-bank"},
     "log: 1 line between the looks: CPD69104Engine::audit restarting Port 1"},
    {"DetectionFails",
     [](CardLooks& looks) { setChannel(looks, with(CHANNEL, "det_fail", "TRUE")); },
     {"detection-failed, port 2"},
     "channel 2: det_fail = TRUE"},
    {"OverloadsGrow",
     [](CardLooks& looks) { grow(looks, "overLoadCounter"); },
     {"overload, port 2"},
     "poeport 2: overLoadCounter = 0, some seconds later 3"},
    {"ShortsGrow",
     [](CardLooks& looks) { grow(looks, "shortCounter"); },
     {"short, port 2"},
     "poeport 2: shortCounter = 0, some seconds later 3"},
    {"UnderloadsGrow",
     [](CardLooks& looks) { grow(looks, "underLoadCounter"); },
     {"underload, port 2"},
     "poeport 2: underLoadCounter = 0, some seconds later 3"},
    {"ClassErrorsGrow",
     [](CardLooks& looks) { grow(looks, "classErrorCounter"); },
     {"class-error, port 2"},
     "poeport 2: classErrorCounter = 0, some seconds later 3"},
    {"DetectionSwitchedOffBehindTheService",
     [](CardLooks& looks) { looks.bus->detection = 0xBF; },
     {"foreign-program, port 2"},
     "poeport 2: admin enable = TRUE, but register 0x14 = 0xBF switches its detection off"},
    {"TemporaryLimit",
     [](CardLooks& looks) {
       looks.bus->later[2] = ReportLines("poeport 2", with(POEPORT, "temp port power limit (W)", "5"));
     },
     {"foreign-program, port 2"},
     "poeport 2: temp port power limit (W) = 5, which the service never sets"},
    {"NoPowerAndNoReason",
     [](CardLooks& looks) { setChannel(looks, NO_POWER); },
     {"unexplained, port 2"},
     "channel 2: det_status = GOOD, channel 2: enable = FALSE in every look"},
    {"PowerThatGoes",
     [](CardLooks& looks) { looks.free.back().channel[2] = ReportLines("channel 2", NO_POWER); },
     {"unexplained, port 2"},
     "channel 2: enable = FALSE in some looks and not in others"},
    {"PowerThatComes",
     [](CardLooks& looks) { looks.free.front().channel[2] = ReportLines("channel 2", NO_POWER); },
     {},
     ""},
    {"WrongPriority",
     [](CardLooks& looks) { looks.log.add("Range Error [c=4:1 pr=0]\n", false); },
     {"bad-priority"},
     "log: 1 line since the service started: Range Error [c=4:1 pr=0]"},
    {"NoPowerWithoutTheBus",
     [](CardLooks& looks) {
       looks.bus.reset();
       setChannel(looks, NO_POWER);
     },
     {"unexplained, port 2"},
     "channel 2: det_status = GOOD, channel 2: enable = FALSE in every look"},
};

class Verdicts : public ::testing::TestWithParam<Case> {};

TEST_P(Verdicts, AreThoseOfTheReports) {
  CardLooks looks = healthyCard();
  GetParam().change(looks);
  const std::vector<Verdict> verdicts = verdictsOn(looks);
  std::vector<std::string> names;
  for (const Verdict& verdict : verdicts) {
    names.push_back(verdict.name + (verdict.port ? ", port " + std::to_string(*verdict.port) : ""));
    EXPECT_NE(verdict.remedy, "");
  }
  EXPECT_EQ(names, GetParam().verdicts);
  EXPECT_EQ(verdicts.empty() ? "" : verdicts.front().evidence, GetParam().evidence);
}

INSTANTIATE_TEST_SUITE_P(, Verdicts, ::testing::ValuesIn(CASES),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(VerdictNames, AllHaveARowInTheTroubleshootingPage) {
  std::ostringstream page;
  page << std::ifstream(TROUBLESHOOTING).rdbuf();
  for (const std::string& name : verdictNames()) {
    EXPECT_NE(page.str().find("| `" + name + "` |"), std::string::npos) << name;
  }
}

} // namespace
