// Whether an expectation holds.
#pragma once

#include "poectl/scenario/scenario.h"

#include <string>

struct Judgement {
  bool holds;
  std::string reason; // one line: what is, and what is expected
};

// An expectation of the status. An increase is counted from `before`, modulo 2^32.
Judgement judge(const StatusExpectation& expectation, const PoeStatus& before, const PoeStatus& now);

// An expectation of unchanged counters; `then` is the status when the step of its line ended.
Judgement judge(const CountersExpectation& expectation, const PoeStatus& then, const PoeStatus& now);

Judgement judge(const RegisterExpectation& expectation, unsigned value);
