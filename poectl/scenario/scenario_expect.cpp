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

} // namespace

Judgement judge(const StatusExpectation& expectation, const PoeStatus& before, const PoeStatus& now) {
  const StatusField& field = *expectation.field;
  const WantedValue& wanted = expectation.wanted;
  const unsigned port = expectation.port.value_or(0);
  const std::int64_t value = field.read(now, port);
  const auto increase = static_cast<std::uint32_t>(value - field.read(before, port));
  std::string reason = expectation.port ? "port " + std::to_string(port) + " " : "chip ";
  reason += std::string(field.name) + " is " + valueText(field, value);
  bool holds = value == wanted.value;
  if (wanted.kind != WantedValue::Kind::EXACTLY) {
    reason += ", +" + std::to_string(increase) + " since the last apply, card or console step";
    holds = wanted.kind == WantedValue::Kind::INCREASE ? increase == wanted.value : increase >= wanted.value;
  }
  return {holds, reason + "; expected is " + wantedText(field, wanted)};
}

Judgement judge(const RegisterExpectation& expectation, unsigned value) {
  return {value == expectation.value, "register " + text::hexadecimal(expectation.address) + " is " +
                                          text::hexadecimal(value) + "; expected is " +
                                          text::hexadecimal(expectation.value)};
}
