// How the simulated card and its command end.
#include "card_process.h"

#include <csignal>
#include <gtest/gtest.h>

#include <unistd.h>

namespace {

bool runs(const std::string& pid) {
  return kill(static_cast<pid_t>(std::stol(pid)), 0) == 0;
}

TEST(PoeCardEnd, HasTheStatusOfTheCommandAndNamesTheSignalThatEndedIt) {
  struct Row {
    std::vector<std::string> command;
    int status;
    std::string error;
  };
  const std::string probe = CARD_PROBE;
  const Row rows[] = {
      {{probe, "exit:0"}, 0, ""},
      {{probe, "exit:42"}, 42, ""},
      {{probe, "die:9"}, 128 + 9, probe + " was ended by SIGKILL"},
      {{probe, "die:15"}, 128 + 15, probe + " was ended by SIGTERM"},
      {{probe, "die:11"}, 128 + 11, probe + " was ended by SIGSEGV"},
      {{"/no/such/command", "argument"}, 127, "cannot run /no/such/command: No such file or directory"},
      {{"/"}, 127, "cannot run /: Permission denied"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.command));
    std::vector<std::string> arguments = row.command;
    arguments.insert(arguments.begin(), "--");
    const CardResult result = runCard(arguments);
    EXPECT_EQ(result.status, row.status);
    EXPECT_EQ(result.err, row.error.empty() ? "" : "poe_card: " + row.error + "\n");
    EXPECT_FALSE(result.leftFiles);
  }
}

TEST(PoeCardEnd, KeepsFilesWhileTheCommandRunsAsTheCheckOfNoFilesNeeds) {
  const TemporaryDirectory tmp;
  CardProcess card(tmp.path(), {"--", CARD_PROBE, "say:ready", "wait:15"});
  ASSERT_EQ(card.line(), "ready");
  EXPECT_FALSE(std::filesystem::is_empty(tmp.path()));
}

class PoeCardSignal : public testing::TestWithParam<int> {};

TEST_P(PoeCardSignal, IsPassedOnToACommandThatHandlesIt) {
  const std::string number = std::to_string(GetParam());
  const TemporaryDirectory tmp;
  CardProcess card(tmp.path(),
                   {"--", CARD_PROBE, "catch:" + number, "say:ready", "wait:" + number, "exit:5"});
  ASSERT_EQ(card.line(), "ready");
  card.send(GetParam());
  EXPECT_EQ(card.line(), "caught " + number);
  EXPECT_EQ(card.wait(), 5);
  EXPECT_TRUE(std::filesystem::is_empty(tmp.path()));
}

TEST_P(PoeCardSignal, EndsACommandThatDoesNotHandleItAndLeavesNothing) {
  const TemporaryDirectory tmp;
  CardProcess card(tmp.path(), {"--", CARD_PROBE, "open", "bind:0x20", "pid", "busy"});
  ASSERT_EQ(card.line(), "ok");
  ASSERT_EQ(card.line(), "ok");
  const std::string pid = card.line();
  ASSERT_TRUE(runs(pid));
  card.send(GetParam());
  EXPECT_EQ(card.wait(), 128 + GetParam());
  EXPECT_FALSE(runs(pid));
  EXPECT_EQ(card.errors(), "");
  EXPECT_TRUE(std::filesystem::is_empty(tmp.path()));
}

INSTANTIATE_TEST_SUITE_P(Numbers, PoeCardSignal, testing::Values(SIGTERM, SIGINT, SIGHUP, SIGQUIT),
                         [](const auto& number) { return std::string(sigabbrev_np(number.param)); });

TEST(PoeCardEnd, KillsWhatTheCommandLeavesRunning) {
  const TemporaryDirectory tmp;
  const TemporaryDirectory shared;
  const std::string file = shared.file("pid");
  CardProcess card(
      tmp.path(),
      {"--", "sh", "-c",
       "\"$0\" catch:15 pid wait:15 > \"$1\" & until test -s \"$1\"; do :; done; cat \"$1\"; exit 3",
       CARD_PROBE, file});
  const std::string pid = card.line();
  EXPECT_EQ(card.wait(), 3);
  EXPECT_FALSE(runs(pid));
  EXPECT_TRUE(std::filesystem::is_empty(tmp.path()));
}

TEST(PoeCardEnd, OfASuddenKindTakesTheCommandAlong) {
  const TemporaryDirectory tmp;
  CardProcess card(tmp.path(), {"--", CARD_PROBE, "catch:15", "say:ready", "wait:15"});
  ASSERT_EQ(card.line(), "ready");
  card.send(SIGKILL);
  EXPECT_EQ(card.rest(), ""); // ends when the command, the last to hold its output, has gone
  EXPECT_EQ(card.wait(), -SIGKILL);
}

TEST(PoeCardEnd, IsSeenAlsoWhenEndedChildrenAreIgnored) {
  struct sigaction ignore {};
  struct sigaction before {};
  ignore.sa_handler = SIG_IGN;
  const TemporaryDirectory tmp;
  sigaction(SIGCHLD, &ignore, &before);
  CardProcess card(tmp.path(), {"--", CARD_PROBE, "exit:6"});
  sigaction(SIGCHLD, &before, nullptr);
  EXPECT_EQ(card.wait(), 6);
}

TEST(PoeCardStart, GivesTheCommandTheSignalsAsTheyWere) {
  EXPECT_EQ(runCard({"--", CARD_PROBE, "sigpipe"}).out, "default\n");
  EXPECT_EQ(runCard({"--", "grep", "^SigBlk", "/proc/self/status"}).out, "SigBlk:\t0000000000000000\n");
}

TEST(PoeCardStart, GivesTheCommandItsStandardInput) {
  EXPECT_EQ(runCard({"--", "sh", "-c", "test /proc/self/fd/0 -ef /proc/$PPID/fd/0"}).status, 0);
}

} // namespace
