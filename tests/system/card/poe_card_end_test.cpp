// How the simulated card and its command end.
#include "card_process.h"

#include <csignal>
#include <gtest/gtest.h>

#include <unistd.h>

namespace {

bool runs(const std::string& pid) {
  return kill(static_cast<pid_t>(std::stol(pid)), 0) == 0;
}

TEST(PoeCardEnd, HasTheExitStatusOfTheCommand) {
  EXPECT_EQ(runCard({"--", CARD_PROBE, "exit:42"}).status, 42);
  EXPECT_EQ(runCard({"--", CARD_PROBE, "exit:0"}).status, 0);
}

TEST(PoeCardEnd, HasTheSignalThatEndedTheCommandAsStatus) {
  EXPECT_EQ(runCard({"--", CARD_PROBE, "die:9"}).status, 128 + 9);
  EXPECT_EQ(runCard({"--", CARD_PROBE, "die:15"}).status, 128 + 15);
}

TEST(PoeCardEnd, NamesTheSignalThatEndedTheCommand) {
  const std::string command = CARD_PROBE;
  EXPECT_EQ(runCard({"--", CARD_PROBE, "die:9"}).err, "poe_card: " + command + " was ended by SIGKILL\n");
  EXPECT_EQ(runCard({"--", CARD_PROBE, "die:11"}).err, "poe_card: " + command + " was ended by SIGSEGV\n");
}

TEST(PoeCardEnd, SaysThatACommandCannotBeRun) {
  const CardResult missing = runCard({"--", "/no/such/command", "argument"});
  EXPECT_EQ(missing.err, "poe_card: cannot run /no/such/command: No such file or directory\n");
  EXPECT_EQ(missing.status, 127);
  EXPECT_FALSE(missing.leftFiles);
  const CardResult directory = runCard({"--", "/"});
  EXPECT_EQ(directory.err, "poe_card: cannot run /: Permission denied\n");
  EXPECT_EQ(directory.status, 127);
}

TEST(PoeCardEnd, LeavesNoFiles) {
  EXPECT_FALSE(runCard({"--", CARD_PROBE, "open"}).leftFiles);
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
  const std::string file = (shared.path() / "pid").string();
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
