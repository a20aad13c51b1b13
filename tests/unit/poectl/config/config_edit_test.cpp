// One changed value in a configuration file, which keeps all other bytes.
#include "poectl/config/config_edit.h"
#include "tests/support/error_text.h"

#include <gtest/gtest.h>

namespace {

const std::string PORT_1_TO_3 = "[port.1]\nenable=true\npriority=2\nlimit=2000\n"
                                "[port.2]\nenable=true\npriority=3\nlimit=3000\n"
                                "[port.3]\nenable=true\npriority=3\nlimit=";

// A file is `before`, then the old value or the new one, then `after`.
struct Form {
  const char* name;
  PortChange change;
  std::string before;
  std::string oldValue;
  std::string newValue;
  std::string after;
  unsigned line;
};

constexpr PortChange OFF{0, &PortPlaces::enable, 0};
constexpr PortChange PRIORITY_2{0, &PortPlaces::priority, 2};
constexpr PortChange LIMIT_777{0, &PortPlaces::limit, 777};

const Form FORMS[] = {
    {"Table", LIMIT_777, "[banks]\nbank0 = 1\n[port.0]\nenable = true\npriority = 1\nlimit = ", "15000",
     "777", "\n" + PORT_1_TO_3 + "0\n", 6},
    {"CommentBehind", OFF, "[banks]\nbank0 = 1\n[port.0]\n\tenable\t=  ", "true", "false",
     "  # camera, \xC3\xA4\n\npriority = 1\nlimit = 1\n" + PORT_1_TO_3 + "0\n", 4},
    {"LineEndsOfTwoBytes", PRIORITY_2, "[banks]\r\nbank0 = 1\r\n[port.0]\r\nenable = true\r\npriority = ",
     "1", "2", "\r\nlimit = 1 # x\r\n" + PORT_1_TO_3 + "0\r\n", 5},
    {"NoFinalLineEnd",
     {3, &PortPlaces::limit, 0},
     "[banks]\nbank0 = 1\n[port.0]\nenable = true\npriority = 1\nlimit = 1\n" + PORT_1_TO_3,
     "7",
     "0",
     "",
     18},
    {"KeysInAnotherOrder", LIMIT_777, "[port.0]\nlimit = ", "1_5000", "777",
     "\nname = \"\xC3\xA4\"\nenable = true\npriority = 1\n" + PORT_1_TO_3 + "0\n[banks]\nbank0 = 1\n", 2},
    {"DottedKeys", LIMIT_777,
     "banks.bank0 = 1\nport.0.enable = true\nport.0.priority = 1\nport . 0 .\"limit\" = ", "0x10", "777",
     "#c\n" + PORT_1_TO_3 + "0\n", 4},
    {"DottedKeysInATable", OFF, "banks.bank0 = 1\n[port]\n0.enable = ", "true", "false",
     "\n0.priority = 1\n0.limit = 1\n" + PORT_1_TO_3 + "0\n", 3},
    {"InlineTable", PRIORITY_2, "banks={bank0=1}\nport.0 = {name='\xE9\x9B\xBB # }', enable=true, priority=",
     "+1", "2", " ,limit=1} # {\n" + PORT_1_TO_3 + "0\n", 2},
    {"InlineTables",
     {1, &PortPlaces::limit, 40000},
     "banks={bank0=1}\nport={0={enable=true,priority=1,limit=1},1={enable=true,priority=1,limit=",
     "1",
     "40000",
     "},2={enable=true,priority=1,limit=1},3={enable=true,priority=1,limit=1}}",
     2},
    {"ByteOrderMark", LIMIT_777, "\xEF\xBB\xBFport.0.limit = ", "1", "777",
     "\nport.0.enable = true\nport.0.priority = 1\n" + PORT_1_TO_3 + "0\n[banks]\nbank0 = 1\n", 1},
    {"SameValueInAnotherForm", LIMIT_777,
     "[banks]\nbank0 = 1\n[port.0]\nenable = true\npriority = 1\nlimit = ", "0x3_09", "0x3_09",
     "\n" + PORT_1_TO_3 + "0\n", 6},
};

class ConfigEditForm : public ::testing::TestWithParam<Form> {};

TEST_P(ConfigEditForm, ChangesTheValueAndNoOtherByte) {
  const Form& form = GetParam();
  const ConfigEdit edit = editConfig(form.before + form.oldValue + form.after, "f.toml", form.change);
  EXPECT_EQ(edit.text, form.before + form.newValue + form.after);
  EXPECT_EQ(edit.line, form.line);
  const std::string start = form.before.substr(form.before.rfind('\n') + 1);
  const std::string end = form.after.substr(0, form.after.find_first_of("\r\n"));
  EXPECT_EQ(edit.oldLine, start + form.oldValue + end);
  EXPECT_EQ(edit.newLine, start + form.newValue + end);
}

INSTANTIATE_TEST_SUITE_P(Forms, ConfigEditForm, ::testing::ValuesIn(FORMS),
                         [](const auto& form) { return std::string(form.param.name); });

TEST(ConfigEdit, RefusesAFileThatIsNoConfiguration) {
  const std::string text =
      "[banks]\nbank0 = 1\n[port.0]\nenable = true\npriority = 1\n" + PORT_1_TO_3 + "0\n";
  EXPECT_EQ(
      errorText<ConfigError>([&] { editConfig(text, "f.toml", LIMIT_777); }),
      "f.toml:3:1: 'limit' is missing in [port.0]; a whole number from 0 to 40000 (mW; 0 means 40000) is "
      "accepted");
}

} // namespace
