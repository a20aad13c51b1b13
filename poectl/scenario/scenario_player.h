// Carries the steps of a scenario out, one after the other.
#pragma once

#include "poectl/card/card_client.h"
#include "poectl/scenario/log_follower.h"
#include "poectl/scenario/scenario.h"
#include "poectl/scenario/scenario_expect.h"
#include "poectl/scenario/scenario_status.h"
#include "poectl/scenario/tap.h"

#include <functional>
#include <map>
#include <optional>

// Borrows all it is given. One thread.
//
// An expectation looks only at status messages that arrive after the last apply, card or console step: first
// at the latest one, then at each that arrives until the time is up. An increase is counted from the last
// message before that step. Expectations on registers and on the log do not wait for a message.
class ScenarioPlayer {
public:
  // `card` and `log` must be there when the scenario needs them.
  ScenarioPlayer(StatusReceiver& receiver, std::optional<CardClient>& card, std::optional<LogFollower>& log,
                 Tap& tap)
      : m_stop(receiver.signalDescriptor()), m_history(receiver), m_card(card), m_log(log), m_tap(tap) {}

  // Waits for the service's first message, then plays. A failed expectation does not end it. Throws
  // PlayStopped after a failed apply, card or console step, a service that has gone silent, or a signal to
  // end.
  void play(const Scenario& scenario);

private:
  using Judge = std::function<Judgement()>;

  void playStep(const Step& step, const ApplyStep& apply);
  void playStep(const Step& step, const CardStep& card);
  void playStep(const Step& step, const ConsoleStep& console);
  void playStep(const Step& step, const WaitStep& wait);
  void playStep(const Step& step, const AfterStep& after);
  void playStep(const Step& step, const MarkLogStep& mark);
  void playStep(const Step& step, const StatusExpectation& expectation);
  void playStep(const Step& step, const CountersExpectation& expectation);
  void playStep(const Step& step, const RegisterExpectation& expectation);
  void playStep(const Step& step, const LogExpectation& expectation);

  std::string act(const Step& step, const std::function<std::string()>& action);
  Judgement await(const Timing& timing, bool judgeAtOnce, const Judge& judge);
  Judgement awaitSeconds(double seconds, const Judge& judge);
  Judgement awaitMessages(unsigned messages, const Judge& judge);
  void report(const Step& step, const Judgement& judgement);

  const int m_stop; // readable when a signal ends the play
  ScenarioStatus m_history;
  std::optional<CardClient>& m_card;
  std::optional<LogFollower>& m_log;
  Tap& m_tap;
  std::optional<PoeConfig> m_config;         // the last one applied
  std::map<unsigned, PoeStatus> m_afterLine; // the last message when the step of a line ended
};
