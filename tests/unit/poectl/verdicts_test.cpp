// The verdicts of `poectl diagnose` on reports as the console prints them, and on lines of the log.
#include "poectl/diagnose/diagnosis_text.h"
#include "poectl/diagnose/verdicts.h"
#include "tests/unit/poectl/console_sample.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using console_sample::INFO;

// A report in which the line of this label has another value.
std::string with(const std::string& report, const std::string& label, const std::string& value) {
  const std::size_t line = report.find(label + " ");
  EXPECT_NE(line, std::string::npos) << label;
  const std::size_t start = report.find_first_of("=:", line) + 2;
  return report.substr(0, start) + value + report.substr(report.find('\n', start));
}

const std::string DEVICE = with(with(console_sample::DEVICE, "dev_error", "FALSE"), "device errorcount", "0");
const std::string CHANNEL =
    with(with(console_sample::CHANNEL, "mosfet_overtemperature", "FALSE"), "det_fail", "FALSE");
const std::string NO_POWER = with(CHANNEL, "enable", "FALSE");

std::string poePort() {
  std::string report = with(console_sample::POEPORT, "port power limit (W)", "15");
  report = with(report, "temp port power limit (W)", "0");
  for (const StatusField& counter : STATUS_COUNTER) {
    report = with(report, counter.name, "0");
  }
  return report;
}
const std::string POEPORT = poePort();

// The samples are of port 1.
std::string placed(std::string report, unsigned port) {
  return report.replace(report.find('1'), 1, std::to_string(port));
}

SeenReport<InfoReport> seenInfo(const std::string& reply) {
  return seenReport("info", reply, parseInfo);
}

SeenReport<ChannelReport> seenChannel(const std::string& reply, unsigned port) {
  return seenReport(placed("channel 1", port), placed(reply, port), parseChannel, port);
}

SeenReport<PoePortReport> seenPoePort(const std::string& reply, unsigned port) {
  return seenReport(placed("poeport 1", port), placed(reply, port), parsePoePort, port);
}

CardLooks healthyCard() {
  CardLooks looks;
  looks.bus.emplace();
  looks.bus->info = seenInfo(INFO);
  looks.bus->mode = 0xFF;
  looks.bus->detection = 0xFF;
  FreeReports look;
  look.device = seenReport("device", DEVICE, parseDevice);
  for (unsigned port = 0; port < POE_PORTS; port++) {
    look.channel[port] = seenChannel(CHANNEL, port);
    looks.bus->first[port] = seenPoePort(POEPORT, port);
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
    look.device = seenReport("device", with(DEVICE, label, value), parseDevice);
  }
}

void setChannel(CardLooks& looks, const std::string& report) {
  for (FreeReports& look : looks.free) {
    look.channel[2] = seenChannel(report, 2);
  }
}

void grow(CardLooks& looks, const std::string& counter) {
  looks.bus->later[2] = seenPoePort(with(POEPORT, counter, "3"), 2);
}

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
    {"ManyEarlierBusErrors", [](CardLooks& looks) { setDevice(looks, "device errorcount", "3"); }, {}, ""},
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
       looks.bus->info = seenInfo(with(INFO, "- power_limit[7]", "144"));
       looks.bus->marker = 0;
     },
     {"set-up-again"},
     "info: - power_limit[7] = 144, some seconds later 0"},
    {"NoDriver",
     [](CardLooks& looks) {
       looks.bus.reset();
       for (FreeReports& look : looks.free) {
         look.channel.fill(seenChannel("channel 1\n============\nNo POE device found\n\n", 0));
       }
     },
     {"no-driver"},
     "channel 0: no line 'enable'"},
    {"IdleEngine",
     [](CardLooks& looks) { looks.bus->info = seenInfo(with(INFO, "m_state", "IDLE")); },
     {"engine-idle"},
     "info: m_state = IDLE"},
    {"LateWatchdog",
     [](CardLooks& looks) { looks.bus->info = seenInfo(with(INFO, "\nstate", "LATE")); },
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
     "/queueToMain 0 of 10 messages wait, process 812 (main) has it open for reading; log: 1 line between "
     "the looks: msgsnd "
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
       looks.bus->later[2] = seenPoePort(with(POEPORT, "temp port power limit (W)", "5"), 2);
     },
     {"foreign-program, port 2"},
     "poeport 2: temp port power limit (W) = 5, which the service never sets"},
    {"NoPowerAndNoReason",
     [](CardLooks& looks) { setChannel(looks, NO_POWER); },
     {"unexplained, port 2"},
     "channel 2: det_status = GOOD, channel 2: enable = FALSE in every look"},
    {"PowerThatGoes",
     [](CardLooks& looks) { looks.free.back().channel[2] = seenChannel(NO_POWER, 2); },
     {"unexplained, port 2"},
     "channel 2: enable = FALSE in some looks and not in others"},
    {"PowerThatComes",
     [](CardLooks& looks) { looks.free.front().channel[2] = seenChannel(NO_POWER, 2); },
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

TEST(DiagnosisText, NamesTheReportsThatAreNotUnderstoodAndShowsNothingOfThem) {
  CardLooks looks = healthyCard();
  setChannel(looks, with(CHANNEL, "enable", "PERHAPS"));
  looks.names[2] = "lobby";
  looks.bus->info = seenInfo("");
  looks.bus->first[3] = looks.bus->later[3] = seenPoePort(with(POEPORT, "Oper status", "HAPPY"), 3);
  const std::string text = diagnosisText(looks);
  for (const std::string part :
       {"\nchip: -5 degrees Celsius\n", "\nport 2 (lobby): not known\n",
        "\nport 3: on, detection good, class 4; state, limit, draw and counters need the bus\n",
        "\nNothing found.\n", "\n- the console's report 'channel 2' has 'PERHAPS' for 'enable', which",
        "\n- the console's report 'info' begins with '' and not with",
        "\n- the console's report 'poeport 3' has 'HAPPY' for 'Oper status', which"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
  }
}

TEST(VerdictNames, AllHaveARowInTheTroubleshootingPage) {
  std::ostringstream page;
  page << std::ifstream(TROUBLESHOOTING).rdbuf();
  for (const std::string& name : verdictNames()) {
    EXPECT_NE(page.str().find("| `" + name + "` |"), std::string::npos) << name;
  }
}

} // namespace
