// The console over loopback, through poectl.
#include "tests/target/target_fixture.h"

#include <regex>

namespace {

class Console : public TargetTest {
protected:
  // A service with the scene's configuration on the scene's chip.
  void startScene() {
    startService();
    configureScene();
    chip->write(SCENE_REGISTERS);
    chip->write({{0x43, 0x41}, // device 2, revision 1
                 {0x71, 0x37},
                 {0x72, 0x24}, // 54.1 V
                 {0x3C, 0x05},
                 {0x3D, 0x0D}, // 407 mA
                 {0x3E, 0x00},
                 {0x3F, 0x23}, // 52.3 V
                 {0xCB, 0x12},
                 {0xCC, 0xF9}}); // 51.0 V, above it bits that do not belong to it
    nextWholeStatus();
    EXPECT_EQ(log.take(), START_LOG);
  }

  static std::string reply(std::vector<std::string> words) {
    words.insert(words.begin(), {"/bin/poectl", "console"});
    const Result result = run(words);
    EXPECT_EQ(result.status, 0);
    return result.output;
  }
};

TEST_F(Console, ReadsARegister) {
  startScene();
  EXPECT_EQ(reply({"readReg", "0x8B"}), "PD69104Engine: value read 0x8b:0x55\n\n");
}

TEST_F(Console, WritesARegister) {
  startScene();
  EXPECT_EQ(reply({"writeReg", "0x15", "0x1A7"}), "PD69104Engine: value written ok 0x15:0x1a7\n\n");
  EXPECT_EQ(chip->read(0x15), 0xA7);
}

TEST_F(Console, RefusesARegisterBehindTheLast) {
  startScene();
  EXPECT_EQ(reply({"readReg", "0xCF"}), "ERROR in reading register: 0xcf\n\n");
  const std::string report = log.take();
  EXPECT_TRUE(
      std::regex_match(report, std::regex("<3> SWERR ERROR DETECTED: components/PoeDriver/pd69104 2203 \n"
                                          "<3> Range Error \\[address=0xcf result=0x[0-9a-f]+\\]\n")))
      << report;
}

TEST_F(Console, ShowsTheDevice) {
  startScene();
  EXPECT_EQ(reply({"device"}), "device status\n"
                               "=============\n"
                               "  device_id               = 2\n"
                               "  device revision         = 1\n"
                               "  temperature             = -18\n"
                               "  thermal shutdown        = FALSE\n"
                               "  dev_error               = FALSE\n"
                               "  device errorcount       = 0\n"
                               "\n");
}

TEST_F(Console, ShowsAChannel) {
  startScene();
  EXPECT_EQ(reply({"channel", "0"}), "channel 0\n"
                                     "============\n"
                                     "  enable                  = TRUE\n"
                                     "  power_good              = TRUE\n"
                                     "  det_status              = GOOD\n"
                                     "  pclass                  = CLASS_4\n"
                                     "  fet_error               = FALSE\n"
                                     "  mosfet_overtemperature  = FALSE\n"
                                     "  in_pm_mode              = FALSE\n"
                                     "  passed_MSCC_cap_det     = FALSE\n"
                                     "  det_fail                = FALSE\n"
                                     "\n");
}

TEST_F(Console, ShowsAPort) {
  startScene();
  EXPECT_EQ(reply({"poeport", "3"}), "channel 3\n"
                                     "============\n"
                                     "  admin enable              = TRUE\n"
                                     "  Oper status               = FAULT\n"
                                     "  powerClassification       = CLASS3\n"
                                     "  port power limit (W)      = 15\n"
                                     "  temp port power limit (W) = 0\n"
                                     "  priority                  = 2\n"
                                     "  main voltage (dV)         = 541\n"
                                     "  port_voltage (dV)         = 523\n"
                                     "  port_current (mA)         = 407\n"
                                     "  power_consumption (W)     = 15\n"
                                     "\n"
                                     "  invalidSignatureCounter   = 1\n"
                                     "  powerDeniedCounter        = 6\n"
                                     "  overLoadCounter           = 2\n"
                                     "  underLoadCounter          = 1\n"
                                     "  shortCounter              = 0\n"
                                     "  classErrorCounter         = 1\n"
                                     "\n"
                                     "\n");
}

TEST_F(Console, ShowsTheEngineAndTheDriver) {
  startScene();
  const std::regex changing("(last fed \\(ms ago\\) +: |m_i2c_file +: )[0-9]+\n");
  EXPECT_EQ(std::regex_replace(reply({"info"}), changing, "$1NUMBER\n"),
            "\n"
            "==============\n"
            "pd69104 Engine\n"
            "==============\n"
            "\n"
            "m_state                 = ACTIVE\n"
            "\n"
            "watchdog client         : PoeEngine\n"
            "time-out (ms)           : 60000\n"
            "last fed (ms ago)       : NUMBER\n"
            "state                   : IN TIME\n"
            "\n"
            "==============\n"
            "PD69104 DRIVER\n"
            "==============\n"
            "m_HwOperationMode       : NORMAL\n"
            "\n"
            "m_i2c_filename          : /dev/i2c-0\n"
            "m_i2c_adapter_nr        : 0\n"
            "m_i2c_file              : NUMBER\n"
            "m_poeError              : FALSE\n"
            "m_poeErrorCount         : 0\n"
            "main voltage (V)        = 54.1\n"
            "power_consumption       = 40\n"
            "min_shutdown_voltage    = 51.0\n"
            "PM calculation static   = TRUE\n"
            "power_bank              = 2\n"
            "power_limit (this bank) = 85\n"
            "power_bank settings:\n"
            "  - power_limit[0] = 100\n"
            "  - power_limit[1] = 0\n"
            "  - power_limit[2] = 85\n"
            "  - power_limit[3] = 0\n"
            "  - power_limit[4] = 0\n"
            "  - power_limit[5] = 161\n"
            "  - power_limit[6] = 0\n"
            "  - power_limit[7] = 0\n"
            "\n");
}

TEST_F(Console, ExplainsItsCommands) {
  startService();
  EXPECT_EQ(log.take(), START_LOG);
  EXPECT_EQ(reply({"PD69104Engine", "help"}),
            "usage : \r\n"
            "\t formatted input !!! 12 = dec(12),0x12 = dec(18),012 = dec(10)\n"
            "\t>help                                      (= this overview)\r\n"
            "\t>PD69104Engine info                        (shows pd69104 info)\n"
            "\t>PD69104Engine device                      (shows pd69104 device info)\n"
            "\t>PD69104Engine channel <channel_nr>        (shows pd69104 device channel info)\n"
            "\t>PD69104Engine poeport <channel_nr>        (shows pd69104 poe port status)\n"
            "\t>PD69104Engine writeReg <address> <value>  (write a pd69104 register)\n"
            "\t>PD69104Engine readReg <address>           (read a pd69104 register)\n");
}

} // namespace
