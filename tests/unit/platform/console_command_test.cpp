#include "platform/host/console/console_command.h"

#include <sstream>

#include <gtest/gtest.h>

#include "tests/support/doubles/talker.h"

using Zorvan::ConsoleCommand;

namespace {

std::string run(const std::string& line, std::size_t bufferSize = 64) {
  std::vector<char> buffer(bufferSize, '?');
  return ConsoleCommand(line).run(buffer);
}

// Notes what its handler is given.
class Recorder : public Zorvan::Cdebugable {
public:
  Recorder() : Cdebugable("Recorder") {}

  std::uint32_t dbgCommand(std::uint32_t argc, const char* const* argv, char* out,
                           std::uint32_t outLen) override {
    m_argc = argc;
    m_first = argc > 0 ? argv[0] : "";
    m_buffer.assign(out, outLen);
    return 0;
  }

  void dbgHelp(std::uint32_t argc, const char* const* argv, std::ostringstream& out) override {
    for (std::uint32_t i = 0; i < argc; ++i) {
      out << '<' << argv[i] << '>';
    }
    out << '\n';
  }

  std::uint32_t m_argc = 99;
  std::string m_first;
  std::string m_buffer;
};

} // namespace

TEST(ConsoleCommand, HandsTheWordsAfterTheNameToTheObject) {
  const Echo echo("Echo");
  EXPECT_EQ(run("Echo one two"), "[one][two]\n");
}

TEST(ConsoleCommand, SeparatesWordsAtAnyNumberOfBlanksAndTabs) {
  const Echo echo("Echo");
  EXPECT_EQ(run(" \tEcho \t one\t\ttwo  three \t"), "[one][two][three]\n");
}

TEST(ConsoleCommand, AnObjectMayBeGivenNoWords) {
  Recorder recorder;
  run("Recorder");
  EXPECT_EQ(recorder.m_argc, 0U);
}

TEST(ConsoleCommand, TheHandlerGetsTheWholeBufferZeroed) {
  Recorder recorder;
  run("Recorder one", 100);
  EXPECT_EQ(recorder.m_argc, 1U);
  EXPECT_EQ(recorder.m_first, "one");
  EXPECT_EQ(recorder.m_buffer, std::string(100, '\0'));
}

TEST(ConsoleCommand, TheReplyEndsAtTheFirstNul) {
  const Talker talker("Talker", [](const auto&) { return std::string("ab\0cd", 5); });
  EXPECT_EQ(run("Talker"), "ab");
}

TEST(ConsoleCommand, AReplyThatFillsTheBufferNeedsNoNul) {
  const Talker talker("Talker", [](const auto&) { return std::string(1000, 'x'); });
  EXPECT_EQ(run("Talker", 64), std::string(64, 'x'));
}

TEST(ConsoleCommand, AnEmptyBufferGivesAnEmptyReply) {
  const Talker talker("Talker", [](const auto&) { return std::string(1000, 'x'); });
  EXPECT_EQ(run("Talker", 0), "");
}

TEST(ConsoleCommand, TheReplyOfAnUnknownCommandIsThatOfTheHandler) {
  const Zorvan::Cdebugable silent("Silent");
  EXPECT_EQ(run("Silent one"), "");
}

TEST(ConsoleCommand, HelpListsTheObjectsInTheOrderOfTheirConstruction) {
  const Echo second("B");
  const Echo first("A");
  EXPECT_EQ(run("help"), "B\nA\n");
}

TEST(ConsoleCommand, HelpAsksEachObjectForItsLineAndPassesTheCommandToIt) {
  const Echo echo("Echo");
  const Recorder recorder;
  EXPECT_EQ(run("help"), "Echo\n<help>\n");
}

TEST(ConsoleCommand, HelpListsNothingWhenThereIsNoObject) {
  EXPECT_EQ(run("help"), "");
}

TEST(ConsoleCommand, AnObjectNamedHelpGoesBeforeTheList) {
  const Echo echo("help");
  EXPECT_EQ(run("help"), "\n");
}

TEST(ConsoleCommand, HelpMayHaveFurtherWords) {
  const Echo echo("Echo");
  EXPECT_EQ(run("help Echo"), "Echo\n");
}

TEST(ConsoleCommand, AnUnknownObjectIsNamedAndTheOthersListed) {
  const Echo echo("Echo");
  const Recorder recorder;
  EXPECT_EQ(run("Nobody one two"), "No such object: Nobody\nEcho\n<Nobody><one><two>\n");
}

TEST(ConsoleCommand, NamesAreMatchedWholeAndInTheirCase) {
  const Echo echo("Echo");
  EXPECT_EQ(run("Ech"), "No such object: Ech\nEcho\n");
  EXPECT_EQ(run("Echoo"), "No such object: Echoo\nEcho\n");
  EXPECT_EQ(run("echo"), "No such object: echo\nEcho\n");
}

TEST(ConsoleCommand, ANulMakesAnotherName) {
  const Echo echo("Echo");
  EXPECT_EQ(run(std::string("Echo\0 one", 9)), std::string("No such object: Echo\0\nEcho\n", 27));
}

TEST(ConsoleCommand, OfTwoObjectsWithOneNameTheFirstAnswers) {
  const Talker first("Same", [](const auto&) { return "first"; });
  const Talker second("Same", [](const auto&) { return "second"; });
  EXPECT_EQ(run("Same"), "first");
}

TEST(ConsoleCommand, OfTwoObjectsWithOneNameTheOtherAnswersWhenTheFirstIsGone) {
  auto first = std::make_unique<Echo>("Same");
  const Talker second("Same", [](const auto&) { return "second"; });
  first.reset();
  EXPECT_EQ(run("Same"), "second");
}

TEST(ConsoleCommand, HasAsManyWordsAsALineCanHold) {
  Recorder recorder;
  std::string line = "Recorder";
  for (int i = 0; i < 500; ++i) {
    line += " w";
  }
  run(line);
  EXPECT_EQ(recorder.m_argc, 500U);
}

TEST(ConsoleCommand, BlanksAreNoCommand) {
  EXPECT_TRUE(ConsoleCommand("").isEmpty());
  EXPECT_TRUE(ConsoleCommand(" \t ").isEmpty());
  EXPECT_FALSE(ConsoleCommand(" x ").isEmpty());
}

TEST(ConsoleCommand, QuitIsTheFirstWord) {
  EXPECT_TRUE(ConsoleCommand("quit").isQuit());
  EXPECT_TRUE(ConsoleCommand(" quit\t").isQuit());
  EXPECT_TRUE(ConsoleCommand("quit now").isQuit());
  EXPECT_FALSE(ConsoleCommand("Quit").isQuit());
  EXPECT_FALSE(ConsoleCommand("quitter").isQuit());
  EXPECT_FALSE(ConsoleCommand("").isQuit());
}

TEST(ConsoleCommand, TheListLeavesAnObjectOutThatDoesNotAnswerToNoName) {
  class Hidden : public Zorvan::Cdebugable {
  public:
    Hidden() : Cdebugable("Hidden") {}
    std::uint32_t dbgFind(const std::string& name, char* out, std::uint32_t outLen) override {
      return name.empty() ? 0 : Cdebugable::dbgFind(name, out, outLen);
    }
  };
  const Hidden hidden;
  const Echo echo("Echo");
  EXPECT_EQ(run("help"), "Echo\n");
}
