// The layout of the two objects, and the modes and states that no operation brings about: they are put into
// the objects' memory, at the places that the layout gives them.
#include "tests/unit/service/driver_fixture.h"
#include "tests/unit/service/engine_fixture.h"

#include <cstring>

namespace {

// The fields of CPD69104 in their order, after the pointer to the virtual table.
struct DriverLayout {
  const void* virtualTable;
  std::uint32_t i2cAddress;
  std::int32_t i2cFile;
  std::int32_t adapterNr;
  char filename[20];
  bool poeError;
  std::uint32_t poeErrorCount;
  std::int32_t hwOperationMode;
};
static_assert(sizeof(DriverLayout) == sizeof(CPD69104));

// The first fields of CPD69104Engine after its bases.
struct EngineLayout {
  std::int32_t state;
  CPD69104* driver;
  PoeStatus status;
  PoeConfig config;
  bool configValid;
  pthread_t thread;
  bool running;
  watchdogMonitor* watchdog;
  PowerStatus power;
  DeviceStatus device;
  ChannelStatus channel[4];
  std::uint32_t prevCounts[4][6];
};

constexpr std::size_t ENGINE_BASES =
    (sizeof(ThreadClass) + sizeof(Zorvan::Cdebugable) + alignof(EngineLayout) - 1) / alignof(EngineLayout) *
    alignof(EngineLayout);
static_assert(sizeof(CPD69104Engine) == ENGINE_BASES + sizeof(EngineLayout));

DriverLayout layoutOf(const CPD69104& driver) {
  DriverLayout layout{};
  std::memcpy(&layout, static_cast<const void*>(&driver), sizeof layout);
  return layout;
}

void setMode(CPD69104& driver, std::int32_t mode) {
  std::memcpy(reinterpret_cast<char*>(&driver) + offsetof(DriverLayout, hwOperationMode), &mode, sizeof mode);
}

class Layout : public EngineTest {
protected:
  EngineLayout layoutOfEngine() const {
    EngineLayout layout{};
    std::memcpy(&layout, reinterpret_cast<const char*>(engine.get()) + ENGINE_BASES, sizeof layout);
    return layout;
  }

  void setState(std::int32_t state) {
    poke(offsetof(EngineLayout, state), static_cast<std::uint32_t>(state));
  }

  // Puts a word into the engine, at an offset of EngineLayout.
  void poke(std::size_t offset, std::uint32_t word) {
    std::memcpy(reinterpret_cast<char*>(engine.get()) + ENGINE_BASES + offset, &word, sizeof word);
  }
};

TEST_F(Layout, OfTheDriverHasItsFieldsInOrder) {
  CPD69104 driver(5, 0x2C);
  bus.failAll();
  driver.PoeWriteReg(0, 0);
  takeLog();
  const DriverLayout layout = layoutOf(driver);
  EXPECT_EQ(layout.i2cAddress, 0x2CU);
  EXPECT_EQ(layout.i2cFile, I2cBus::DESCRIPTOR);
  EXPECT_EQ(layout.adapterNr, 5);
  EXPECT_STREQ(layout.filename, "/dev/i2c-5");
  EXPECT_TRUE(layout.poeError);
  EXPECT_EQ(layout.poeErrorCount, 1U);
  EXPECT_EQ(layout.hwOperationMode, 0);
}

TEST_F(Layout, OfTheEngineHasItsFieldsInOrder) {
  registers[0x43] = 0xBD;
  registers[0x96] = 7;
  registers[0x0D] = 0x24;
  registers[0x77] = 0xC0;
  makeEngine();
  const PoeConfig config = fourPorts();
  runCycles({[&] {
    configure(config);
    const EngineLayout layout = layoutOfEngine();
    EXPECT_EQ(layout.state, 1);
    EXPECT_EQ(layoutOf(*layout.driver).hwOperationMode, 1);
    EXPECT_EQ(layout.status.mainOperStatus, 1U);
    EXPECT_EQ(std::memcmp(&layout.config, &config, sizeof config), 0);
    EXPECT_TRUE(layout.configValid);
    EXPECT_NE(layout.thread, 0U);
    EXPECT_TRUE(layout.running);
    EXPECT_NE(layout.watchdog, nullptr);
    EXPECT_EQ(layout.power.power_consumption, 7U);
    EXPECT_EQ(layout.device.device_id, 5U);
    EXPECT_EQ(layout.channel[1].pclass, 2U);
    EXPECT_EQ(layout.prevCounts[3][0], 3U);
  }});
  takeLog();
}

TEST_F(Layout, DriverInfoNamesEveryMode) {
  CPD69104 driver(0, 0x20);
  const std::pair<std::int32_t, const char*> rows[] = {{0, "IDLE"},   {1, "NORMAL"},  {2, "SELFTEST"},
                                                       {255, "FAIL"}, {3, "UNKNOWN"}, {-1, "UNKNOWN"}};
  for (const auto& [mode, name] : rows) {
    setMode(driver, mode);
    EXPECT_EQ(infoOf(driver), driverInfo(name, "FALSE", 0));
  }
}

TEST_F(Layout, AFailedDriverRefusesTheDefaultConfigurationAndStaysFailed) {
  CPD69104 driver(0, 0x20);
  setMode(driver, 255);
  EXPECT_FALSE(driver.PoeSetDefaultConfiguration());
  EXPECT_EQ(takeLog(), driverError(366, "Illegal action on a failed driver\n"));
  EXPECT_EQ(bus.transferCount(), 0U);
  EXPECT_EQ(infoOf(driver), driverInfo("FAIL", "FALSE", 0));
}

TEST_F(Layout, ASelfTestingDriverBecomesNormalByTheDefaultConfiguration) {
  CPD69104 driver(0, 0x20);
  setMode(driver, 2);
  EXPECT_TRUE(driver.PoeSetDefaultConfiguration());
  takeLog();
  EXPECT_EQ(infoOf(driver), driverInfo("NORMAL", "FALSE", 0));
}

TEST_F(Layout, TheWorkerEndsAtOnceOnAFailedDriverAndTheEngineStaysIdle) {
  makeEngine();
  setMode(*layoutOfEngine().driver, 255);
  takeWatchdogEvents();
  EXPECT_TRUE(engine->start());
  posix.runThread();
  EXPECT_EQ(registersMoved(), "R43 R70 R42 ");
  EXPECT_TRUE(posix.messages.empty());
  EXPECT_EQ(layoutOfEngine().state, 0);
  EXPECT_EQ(takeWatchdogEvents(), std::vector<std::string>{"PoeEngine start 60000"});
  configure(fourPorts()); // ignored
  EXPECT_EQ(registersMoved(), "");
}

TEST_F(Layout, InfoShowsAnyOtherStateAsUnknown) {
  makeEngine();
  for (const std::int32_t state : {2, -1}) {
    setState(state);
    const char* argv[] = {"info"};
    char out[8192];
    EXPECT_EQ(engine->dbgCommand(1, argv, out, sizeof out), 1U);
    const std::string expected = "\n==============\npd69104 Engine\n==============\n\n"
                                 "m_state                 = UNKNOWN\n\nstate of PoeEngine\n\n";
    EXPECT_EQ(std::string(out).substr(0, expected.size()), expected);
  }
}

TEST_F(Layout, AConfigurationIsIgnoredInAnyStateButActive) {
  makeEngine();
  for (const std::int32_t state : {2, -1, 256}) {
    setState(state);
    configure(fourPorts());
    EXPECT_EQ(registersMoved(), "") << state;
    EXPECT_FALSE(layoutOfEngine().configValid) << state;
  }
}

// A line of a console report: what follows its label.
std::string valueIn(CPD69104Engine& engine, const char* command, const std::string& label) {
  const char* argv[] = {command, "1"};
  char out[8192];
  EXPECT_EQ(engine.dbgCommand(2, argv, out, sizeof out), 1U);
  const std::string text = out;
  const std::size_t start = text.find(label);
  EXPECT_NE(start, std::string::npos) << label;
  return text.substr(start + label.size(), text.find('\n', start) - start - label.size());
}

TEST_F(Layout, PoePortDecodesEveryStoredStateAndClass) {
  const char* const states[] = {"ILLEGAL", "DISABLED", "SEARCHING",  "DELIVERINGPOWER",
                                "FAULT",   "TEST",     "OTHERFAULT", "ILLEGAL"};
  const char* const classes[] = {"NONE",   "CLASS0", "CLASS1",  "CLASS2",
                                 "CLASS3", "CLASS4", "ILLEGAL", "ILLEGAL"};
  makeEngine();
  for (std::uint32_t code = 0; code < 8; code++) {
    poke(offsetof(EngineLayout, status) + offsetof(PoeStatus, port[1].operStatus), code);
    poke(offsetof(EngineLayout, status) + offsetof(PoeStatus, port[1].powerClassification), code);
    EXPECT_EQ(valueIn(*engine, "poeport", "  Oper status               = "), states[code]);
    EXPECT_EQ(valueIn(*engine, "poeport", "  powerClassification       = "), classes[code]);
  }
}

} // namespace
