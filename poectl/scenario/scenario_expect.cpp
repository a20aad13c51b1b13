#include "poectl/scenario/scenario_expect.h"

#include "text/text.h"

namespace {

std::string wantedText(const StatusField& field, const WantedValue& wanted) {
  switch (wanted.kind) {
  case WantedValue::Kind::INCREASE:
    return "+" + std::to_string(wanted.value);
  case WantedValue::Kind::INCREASE_OR_MORE:
    return "+" + std::to_string(wanted.value) + " or more";
  case WantedValue::Kind::EXACTLY:
    break;
  }
  return valueText(field, wanted.value);
}

// What one port shows, or the chip when there is none.
Judgement judgePort(const StatusExpectation& expectation, std::optional<unsigned> port,
                    const PoeStatus& before, const PoeStatus& now) {
  const StatusField& field = *expectation.field;
  const WantedValue& wanted = expectation.wanted;
  const std::int64_t value = field.read(now, port.value_or(0));
  const auto increase = static_cast<std::uint32_t>(value - field.read(before, port.value_or(0)));
  std::string reason = port ? "port " + std::to_string(*port) + " " : "chip ";
  reason += std::string(field.name) + " is " + valueText(field, value);
  bool holds = value == wanted.value;
  if (wanted.kind != WantedValue::Kind::EXACTLY) {
    reason += ", +" + std::to_string(increase) + " since the last apply, card or console step";
    holds = wanted.kind == WantedValue::Kind::INCREASE ? increase == wanted.value : increase >= wanted.value;
  }
  return {holds, reason + "; "};
}

} // namespace

Judgement judge(const StatusExpectation& expectation, const PoeStatus& before, const PoeStatus& now) {
  const std::string wanted = "expected is " + wantedText(*expectation.field, expectation.wanted);
  if (expectation.ports.empty()) {
    const Judgement chip = judgePort(expectation, {}, before, now);
    return {chip.holds, chip.reason + wanted};
  }
  std::string reasons; // of the ports that do not hold
  for (const unsigned port : expectation.ports) {
    const Judgement judgement = judgePort(expectation, port, before, now);
    reasons += judgement.holds ? "" : judgement.reason;
  }
  return {reasons.empty(), reasons + wanted};
}

Judgement judge(const CountersExpectation& expectation, const PoeStatus& then, const PoeStatus& now) {
  std::string changes;
  for (const unsigned port : expectation.ports) {
    for (const StatusField& counter : STATUS_COUNTER) {
      const std::int64_t value = counter.read(now, port);
      const std::int64_t before = counter.read(then, port);
      if (value != before) {
        changes += "port " + std::to_string(port) + " " + counter.name + " is " + std::to_string(value) +
                   ", was " + std::to_string(before) + "; ";
      }
    }
  }
  return {changes.empty(), changes + "expected is no change since line " + std::to_string(expectation.line)};
}

Judgement judge(const RegisterExpectation& expectation, unsigned value) {
  return {value == expectation.value, "register " + text::hexadecimal(expectation.address) + " is " +
                                          text::hexadecimal(value) + "; expected is " +
                                          text::hexadecimal(expectation.value)};
}
