#include "poectl/scenario/scenario_player.h"

#include "poectl/console/console_client.h"
#include "poectl/service/queue.h"
#include "poectl/status/snapshot.h"
#include "poectl/status/status_text.h"

#include <cstdlib>

namespace {

using Clock = ScenarioStatus::Clock;

constexpr std::chrono::milliseconds CONSOLE_LIMIT{10000};
constexpr std::chrono::milliseconds SEND_LIMIT{1000};

Clock::time_point inSeconds(double seconds) {
  return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

std::string described(const Step& step) {
  return "line " + std::to_string(step.line) + ": " + step.text;
}

} // namespace

void ScenarioPlayer::play(const Scenario& scenario) {
  m_history.receive();
  m_history.startStep();
  for (const Step& step : scenario) {
    std::visit([&](const auto& action) { playStep(step, action); }, step.action);
    m_afterLine[step.line] = m_history.now();
  }
}

void ScenarioPlayer::playStep(const Step& step, const ApplyStep& apply) {
  act(step, [&] {
    sendConfig(apply.config, {SEND_LIMIT, m_stop});
    return std::string();
  });
  m_config = apply.config;
  m_tap.result(true, described(step));
}

void ScenarioPlayer::playStep(const Step& step, const CardStep& card) {
  const std::string reply = act(step, [&] { return m_card->ask(card.words); });
  m_tap.result(true, described(step));
  m_tap.comment(reply);
}

void ScenarioPlayer::playStep(const Step& step, const ConsoleStep& console) {
  const std::string reply = act(step, [&] {
    return askConsole(consoleLine(console.words), {CONSOLE_LIMIT, m_stop});
  });
  const bool shown = !console.shows || reply.find(*console.shows) != std::string::npos;
  m_tap.result(shown, described(step));
  if (!shown) {
    m_tap.comment("the reply does not have this text:");
  }
  m_tap.comment(reply);
}

void ScenarioPlayer::playStep(const Step& step, const WaitStep& wait) {
  const Clock::time_point end = inSeconds(wait.seconds);
  while (Clock::now() < end) {
    m_history.receiveUntil(end);
  }
  m_tap.result(true, described(step));
}

void ScenarioPlayer::playStep(const Step& step, const AfterStep& after) {
  for (unsigned message = 0; message < after.messages; message++) {
    m_history.receive();
  }
  m_tap.result(true, described(step));
}

void ScenarioPlayer::playStep(const Step& step, const MarkLogStep& /*mark*/) {
  m_log->mark();
  m_tap.result(true, described(step));
}

void ScenarioPlayer::playStep(const Step& step, const StatusExpectation& expectation) {
  report(step, await(expectation.timing, m_history.isNew(),
                     [&] { return judge(expectation, m_history.before(), m_history.now()); }));
}

void ScenarioPlayer::playStep(const Step& step, const CountersExpectation& expectation) {
  if (!m_history.isNew()) {
    m_history.receive();
  }
  report(step, await(expectation.timing, true,
                     [&] { return judge(expectation, m_afterLine.at(expectation.line), m_history.now()); }));
}

void ScenarioPlayer::playStep(const Step& step, const RegisterExpectation& expectation) {
  report(step, await(expectation.timing, true,
                     [&] { return judge(expectation, m_card->readRegister(expectation.address)); }));
}

void ScenarioPlayer::playStep(const Step& step, const LogExpectation& expectation) {
  const Judgement judgement = await(expectation.timing, true, [&] {
    return expectation.absent ? Judgement{!m_log->has(expectation.text), "a line of the log has this text"}
                              : Judgement{m_log->find(expectation.text), "no line of the log has this text"};
  });
  report(step, judgement);
  if (!judgement.holds) {
    m_tap.comment("the last lines of the log after the last expected one:");
    m_tap.comment(m_log->lastLines());
  }
}

// Does what a step says. `action` returns what there is to tell about it.
std::string ScenarioPlayer::act(const Step& step, const std::function<std::string()>& action) {
  m_history.startStep();
  try {
    return action();
  } catch (const std::runtime_error& error) { // QueueError, CardError, ConsoleError
    m_history.checkInterrupted();
    m_tap.result(false, described(step));
    m_tap.comment(error.what());
    throw PlayStopped("what follows line " + std::to_string(step.line) + " needs that step");
  }
}

Judgement ScenarioPlayer::await(const Timing& timing, bool judgeAtOnce, const Judge& judge) {
  Judgement judgement{timing.stays, ""};
  if (judgeAtOnce) {
    judgement = judge();
  }
  if (!timing.stays) {
    return judgement.holds  ? judgement
           : timing.seconds ? awaitSeconds(*timing.seconds, judge)
                            : awaitMessages(timing.messages, judge);
  }
  for (unsigned message = 0; message < timing.messages && judgement.holds; message++) {
    m_history.receive();
    judgement = judge();
  }
  return judgement;
}

Judgement ScenarioPlayer::awaitSeconds(double seconds, const Judge& judge) {
  Judgement judgement{false, "no status message came"};
  const Clock::time_point end = inSeconds(seconds);
  while (!judgement.holds && m_history.receiveUntil(end)) {
    judgement = judge();
  }
  return judgement;
}

Judgement ScenarioPlayer::awaitMessages(unsigned messages, const Judge& judge) {
  Judgement judgement{false, ""};
  for (unsigned message = 0; message < messages && !judgement.holds; message++) {
    m_history.receive();
    judgement = judge();
  }
  return judgement;
}

void ScenarioPlayer::report(const Step& step, const Judgement& judgement) {
  m_tap.result(judgement.holds, described(step));
  if (!judgement.holds) {
    m_tap.comment(judgement.reason);
    Snapshot snapshot = snapshotOfMessage(m_history.count(), m_history.now());
    if (m_config) {
      addSettings(snapshot, *m_config);
    }
    m_tap.comment(snapshotText(snapshot));
  }
}
