// Scenario files: any text is refused in one line, or read; the steps of what was read are in their ranges,
// and their lines, as they are shown, are read as the same steps.
#include "poectl/scenario/scenario.h"
#include "tests/fuzz/expectations.h"
#include "tests/fuzz/fuzz_target.h"

#include <set>

namespace {

PoeConfig anyConfiguration(const std::string& file) {
  if (file.find('x') != std::string::npos) {
    throw InputError(file + ": cannot be read; a file is accepted");
  }
  return PoeConfig{};
}

Scenario parsed(const std::string& text) {
  return parseScenario(text, "f", anyConfiguration);
}

void expectRange(const Timing& timing, unsigned leastMessages) {
  EXPECT_TRUE(timing.messages >= leastMessages && timing.messages <= 3600) << timing.messages;
  EXPECT_TRUE(!timing.seconds || (*timing.seconds >= 0.1 && *timing.seconds <= 3600.0));
}

void expectPorts(const std::vector<unsigned>& ports) {
  EXPECT_LE(std::set<unsigned>(ports.begin(), ports.end()).size(), 4U);
  EXPECT_EQ(std::set<unsigned>(ports.begin(), ports.end()).size(), ports.size());
  for (const unsigned port : ports) {
    EXPECT_LT(port, 4U);
  }
}

struct RangeCheck {
  void operator()(const ApplyStep& /*step*/) const {}
  void operator()(const CardStep& step) const { EXPECT_FALSE(step.words.empty()); }
  void operator()(const ConsoleStep& step) const {
    EXPECT_FALSE(step.words.empty());
    EXPECT_TRUE(!step.shows || !step.shows->empty());
  }
  void operator()(const WaitStep& step) const { EXPECT_TRUE(step.seconds >= 0.1 && step.seconds <= 3600.0); }
  void operator()(const AfterStep& step) const { EXPECT_TRUE(step.messages >= 1 && step.messages <= 3600); }
  void operator()(const StatusExpectation& step) const {
    ASSERT_NE(step.field, nullptr);
    expectPorts(step.ports);
    EXPECT_TRUE(step.wanted.kind == WantedValue::Kind::EXACTLY || step.wanted.value >= 0);
    EXPECT_FALSE(valueText(*step.field, step.wanted.value).empty());
    expectRange(step.timing, 1);
  }
  void operator()(const MarkLogStep& /*step*/) const {}
  void operator()(const CountersExpectation& step) const {
    EXPECT_FALSE(step.ports.empty());
    expectPorts(step.ports);
    EXPECT_GT(step.line, 0U);
    expectRange(step.timing, 0);
  }
  void operator()(const RegisterExpectation& step) const {
    EXPECT_LE(step.address, 0xCEU);
    EXPECT_LE(step.value, 0xFFU);
    expectRange(step.timing, 1);
  }
  void operator()(const LogExpectation& step) const {
    EXPECT_FALSE(step.text.empty());
    expectRange(step.timing, step.absent ? 0 : 1);
  }
};

void expectSameSteps(const Scenario& again, const Scenario& scenario) {
  ASSERT_EQ(again.size(), scenario.size());
  for (std::size_t i = 0; i < scenario.size(); i++) {
    EXPECT_EQ(again[i].action.index(), scenario[i].action.index());
    EXPECT_EQ(again[i].text, scenario[i].text);
    EXPECT_EQ(again[i].line, scenario[i].line);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  Scenario scenario;
  try {
    scenario = parsed(text);
  } catch (const ScenarioError& error) {
    expectRefusal(error.what(), text);
    return 0;
  }
  std::string shown;
  unsigned line = 0;
  for (const Step& step : scenario) {
    EXPECT_GT(step.line, line);
    shown += std::string(step.line - line, '\n') + step.text;
    line = step.line;
    std::visit(RangeCheck{}, step.action);
  }
  expectSameSteps(parsed(shown.substr(1)), scenario); // in the same lines, which steps may name
  return 0;
}
