// `poectl diagnose` on cards with one fault each, on healthy ones, and what it costs the bus.
#include "tests/support/process/listeners.h"
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/reading_main_process.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/system/process/command.h"

#include <sstream>
#include <thread>

namespace {

std::string configuration(const std::string& banks, const std::string& port0, const std::string& port1,
                          const std::string& others) {
  return "[banks]\n" + banks + "\n[port.0]\n" + port0 + "\n[port.1]\n" + port1 + "\n[port.2]\n" + others +
         "\n[port.3]\n" + others + "\n";
}

std::string port(bool enable, unsigned priority, unsigned limitMw) {
  return std::string("enable = ") + (enable ? "true" : "false") + "\npriority = " + std::to_string(priority) +
         "\nlimit = " + std::to_string(limitMw);
}

const std::string OFF = port(false, 3, 0);
const std::string USUAL =
    configuration("bank0 = 100", port(true, 1, 15000), port(true, 2, 30000), port(true, 3, 15000));

const std::vector<std::string> TWO_DEVICES = {"--plug", "0 class=2 watts=6", "--plug", "1 class=4 watts=22"};

struct Card {
  const char* name;
  std::string configuration;                      // empty: none is sent
  std::vector<std::string> commands;              // for the card that is set up
  std::vector<std::string> verdicts;              // name and place of each
  const char* evidence;                           // a part of the output; empty for a healthy card
  std::vector<std::string> options = TWO_DEVICES; // of poe_card
};

// The name of the test.
void PrintTo(const Card& card, std::ostream* out) {
  *out << card.name;
}

std::vector<std::string> twoDevices(const std::string& device) {
  return {"--plug", "0 " + device, "--plug", "1 " + device};
}

const Card CARDS[] = {
    {"HealthyWithEmptyPorts", USUAL, {}, {}, ""},
    {"HealthyWithoutPortLimits",
     configuration("bank0 = 60", port(true, 1, 0), port(true, 2, 0), port(true, 3, 0)),
     {},
     {},
     ""},
    {"HealthyWithAPortSwitchedOff",
     configuration("bank0 = 60", port(true, 1, 15000), OFF, port(true, 3, 15000)),
     {},
     {},
     ""},
    {"HealthyAfterOneBusError", USUAL, {"bus fail 1"}, {}, ""},
    {"LowSupply", USUAL, {"supply 40"}, {"supply-low"}, "main voltage (V) = 40.0"},
    {"ThermalShutdown", USUAL, {"thermal on"}, {"thermal-shutdown"}, "thermal shutdown = TRUE"},
    {"FetError", USUAL, {"fault 1 fet"}, {"fet-error, port 1"}, "channel 1: fet_error = TRUE"},
    {"HotMosfet",
     USUAL,
     {"fault 0 overtemperature"},
     {"mosfet-hot, port 0"},
     "channel 0: mosfet_overtemperature = TRUE"},
    {"BadSignature",
     USUAL,
     {"plug 2 signature=low"},
     {"bad-signature, port 2"},
     "channel 2: det_status = RSIG_TOO_LOW"},
    {"ShortOfAPoweredPort", USUAL, {"short 0"}, {"bad-signature, port 0"}, "channel 0: det_status = SHORT"},
    {"Bank7",
     configuration("bank0 = 100\nbank7 = 10", port(true, 1, 15000), port(true, 2, 30000), OFF),
     {},
     {"bank-7"},
     "info: - power_limit[7] = 10"},
    {"LimitsAboveTheBank",
     configuration("bank0 = 30", port(true, 1, 20000), port(true, 1, 20000), OFF),
     {},
     {"limits-above-bank"},
     "has no room for the limit of port 1 (20 W)",
     twoDevices("class=3 watts=8")},
    {"LimitsOf40WattsAboveTheBank",
     configuration("bank0 = 60", port(true, 1, 40000), port(true, 1, 40000), OFF),
     {},
     {"limits-above-bank"},
     "has no room for the limit of port 1 (40 W)",
     twoDevices("class=3 watts=8")},
    {"LimitBelowTheDevice",
     configuration("bank0 = 100", port(true, 1, 15000), port(true, 2, 15000), OFF),
     {},
     {"denied-by-port-limit, port 1"},
     "CLASS_4 may draw 30 W, the port's limit is 15 W"},
    {"BankTooSmall",
     configuration("bank0 = 20", port(true, 1, 0), port(true, 2, 0), OFF),
     {},
     {"denied-by-bank, port 1"},
     "the other ports leave 8 W of bank 0 with its 20 W",
     twoDevices("class=3 watts=12")},
    {"WrongActiveBank",
     configuration("bank0 = 100", port(true, 1, 0), OFF, OFF),
     {"bank 3"},
     {"denied-by-bank, port 0"},
     "0 W of bank 3 with its 0 W"},
    {"DeviceAboveItsClass",
     USUAL,
     {},
     {"denied-device, port 0"},
     "CLASS_1 may draw 4 W, the port's limit is 15 W",
     {"--plug", "0 class=1 watts=10"}},
    {"PortHeldByAForeignProgram",
     USUAL,
     {"reg 0x12 0xF3"},
     {"foreign-program, port 1"},
     "the port's mode in register 0x12 is 0 instead of 3"},
    {"PortSwitchedOnByAForeignProgram",
     configuration("bank0 = 100", port(true, 1, 15000), OFF, OFF),
     {"reg 0x14 0xFF", "reg 0x12 0x0F"},
     {"foreign-program, port 1"},
     "register 0x12 is 3 instead of 0"},
    {"NoConfiguration", "", {}, {"not-configured"}, "poeport 0: admin enable = FALSE"},
};

// "supply-low", "fet-error, port 1": the numbered lines.
std::vector<std::string> verdictsIn(const std::string& output) {
  std::vector<std::string> verdicts;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (line.size() > 3 && line[0] >= '1' && line[0] <= '9' && line.compare(1, 2, ". ") == 0) {
      verdicts.push_back(line.substr(3, line.find(": ") - 3));
    }
  }
  return verdicts;
}

class Diagnose : public ServiceTest {
protected:
  void start(const Card& card) {
    ServiceOptions options;
    options.card = card.options;
    options.card.insert(options.card.end(), {"--control", control, "--record", record});
    service = std::make_unique<ServiceProcess>(options);
    mainProcess.emplace();
    mainProcess->await(1);
    if (!card.configuration.empty()) {
      const CommandResult result = poectl("apply " + folder.write("card.toml", card.configuration));
      ASSERT_EQ(result.status, 0) << result.output;
      mainProcess->await(3);
    }
    for (const std::string& command : card.commands) {
      const CommandResult result = poectl("card --control " + control + " " + command);
      ASSERT_EQ(result.status, 0) << result.output;
    }
    mainProcess->await(3);
  }

  CommandResult diagnose(const std::string& options = "") const {
    return poectl("diagnose --log " + service->outputFile() + " " + options);
  }

  // Only the report "poeport" reads a temporary limit, in registers 0x85 to 0x88.
  unsigned poePortReports() const {
    unsigned reports = 0;
    std::istringstream lines(folder.read("record"));
    for (std::string line; std::getline(lines, line);) {
      reports += line >= "R 0x85" && line < "R 0x89" ? 1U : 0U;
    }
    return reports;
  }

  const TemporaryDirectory folder;
  const std::string control = folder.file("card.socket");
  const std::string record = folder.file("record");
  std::optional<ReadingMainProcess> mainProcess;
};

class DiagnoseCard : public Diagnose, public ::testing::WithParamInterface<Card> {};

TEST_P(DiagnoseCard, FindsTheCauseAndNothingElse) {
  start(GetParam());
  if (HasFatalFailure()) {
    return;
  }
  const CommandResult result = diagnose();
  EXPECT_EQ(verdictsIn(result.output), GetParam().verdicts) << result.output;
  EXPECT_EQ(result.status, GetParam().verdicts.empty() ? 0 : 1) << result.output;
  std::string unwrapped = result.output;
  for (std::size_t at = 0; (at = unwrapped.find("\n   ", at)) != std::string::npos;) {
    unwrapped.replace(at, 4, " ");
  }
  EXPECT_NE(unwrapped.find(GetParam().evidence), std::string::npos) << result.output;
}

INSTANTIATE_TEST_SUITE_P(, DiagnoseCard, ::testing::ValuesIn(CARDS),
                         [](const auto& test) { return std::string(test.param.name); });

struct BusCase {
  Card card;
  const char* options;
  unsigned poePortReports;
};

void PrintTo(const BusCase& bus, std::ostream* out) {
  *out << bus.card.name;
}

const BusCase BUS_CASES[] = {
    {{"UsedOnAHealthyCard", USUAL, {}, {}, "", {"--plug", "0", "--plug", "1", "--plug", "2", "--plug", "3"}},
     "",
     4},
    {{"NotUsedWhenForbidden", USUAL, {}, {}, ""}, "--no-bus", 0},
    {{"NotUsedWhenDead", USUAL, {"bus dead"}, {"chip-unreachable"}, ""}, "", 0},
    {{"NotUsedWhenErrorsGrow", USUAL, {"bus every 100"}, {"bus-errors"}, ""}, "", 0},
    {{"NotUsedWhenOneRegisterFails", USUAL, {"bus register 0x43"}, {"bus-errors"}, ""}, "", 0},
    {{"NotUsedWithoutAnAdapter", "", {}, {"chip-unreachable"}, "", {"--no-adapter"}}, "", 0},
};

class DiagnoseBus : public Diagnose, public ::testing::WithParamInterface<BusCase> {};

TEST_P(DiagnoseBus, IsTreatedWithCare) {
  start(GetParam().card);
  if (HasFatalFailure()) {
    return;
  }
  const CommandResult result = diagnose(GetParam().options);
  EXPECT_EQ(verdictsIn(result.output), GetParam().card.verdicts) << result.output;
  EXPECT_EQ(poePortReports(), GetParam().poePortReports) << result.output;
  const bool isAnnounced = result.output.find("using the chip's bus now") != std::string::npos;
  EXPECT_EQ(isAnnounced, GetParam().poePortReports != 0) << result.output;
}

INSTANTIATE_TEST_SUITE_P(, DiagnoseBus, ::testing::ValuesIn(BUS_CASES),
                         [](const auto& test) { return std::string(test.param.card.name); });

TEST_F(Diagnose, UsesAFailingBusWhenToldTo) {
  start({"", USUAL, {"bus register 0x43"}, {}, ""});
  diagnose("--bus");
  EXPECT_GE(poePortReports(), 4U);
}

TEST_F(Diagnose, FindsThatNobodyReadsTheStatusQueue) {
  startService();
  status->fill();
  const CommandResult result = diagnose("--no-bus");
  EXPECT_EQ(verdictsIn(result.output).front(), "status-unread") << result.output;
  EXPECT_EQ(result.status, 1);
}

TEST_F(Diagnose, FindsThatThereIsNoMainProcess) {
  service = std::make_unique<ServiceProcess>();
  EXPECT_TRUE(service->waitForOutput("mq_open /queueToMain"));
  const CommandResult result = diagnose("--no-bus");
  EXPECT_EQ(verdictsIn(result.output).front(), "no-main-process") << result.output;
}

TEST_F(Diagnose, FindsThatTheServiceDoesNotRun) {
  const CommandResult result = poectl("diagnose");
  EXPECT_EQ(verdictsIn(result.output), std::vector<std::string>{"no-service"}) << result.output;
  EXPECT_EQ(result.status, 1);
}

TEST_F(Diagnose, FindsAnotherProgramOnTheConsolesPort) {
  const int listener = listenOnPort(10001);
  std::thread stranger([&] {
    const int client = accept(listener, nullptr, nullptr);
    EXPECT_EQ(write(client, "HTTP/1.0 400\r\n", 14), 14);
    char request[256];
    EXPECT_GT(read(client, request, sizeof request), 0);
    close(client);
  });
  const CommandResult result = poectl("diagnose");
  stranger.join();
  close(listener);
  EXPECT_EQ(verdictsIn(result.output), std::vector<std::string>{"foreign-console"}) << result.output;
}

TEST_F(Diagnose, FindsAConsoleThatDoesNotAnswer) {
  const int listener = listenOnPort(10001); // its queue takes the connection, and nobody replies
  const CommandResult result = poectl("diagnose");
  close(listener);
  EXPECT_EQ(verdictsIn(result.output), std::vector<std::string>{"console-silent"}) << result.output;
}

TEST_F(Diagnose, FindsAServiceWithoutItsConsole) {
  const int listener = listenOnPort(10001);
  status = std::make_unique<MainProcessQueue>();
  service = std::make_unique<ServiceProcess>();
  status->next();
  close(listener);
  const CommandResult result = diagnose();
  EXPECT_EQ(verdictsIn(result.output), std::vector<std::string>{"no-console"}) << result.output;
}

TEST_F(Diagnose, RefusesALogThatIsMissing) {
  EXPECT_EQ(poectl("diagnose --log /nowhere"),
            refusedWith("the log '/nowhere' cannot be read: No such file or directory"));
}

} // namespace
