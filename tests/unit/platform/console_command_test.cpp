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

TEST(ConsoleCommand, HandsTheWordsAfterTheNameToTheObjectWhateverBlanksAndTabsSeparateThem) {
  const Echo echo("Echo");
  EXPECT_EQ(run("Echo one two"), "[one][two]\n");
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

TEST(ConsoleCommand, TheReplyEndsAtTheFirstNulOrWithTheBuffer) {
  const Talker brief("Brief", [](const auto&) { return std::string("ab\0cd", 5); });
  const Talker endless("Endless", [](const auto&) { return std::string(1000, 'x'); });
  EXPECT_EQ(run("Brief"), "ab");
  EXPECT_EQ(run("Endless", 64), std::string(64, 'x'));
  EXPECT_EQ(run("Endless", 0), "");
}

TEST(ConsoleCommand, TheReplyOfAnUnknownCommandIsThatOfTheHandler) {
  const Zorvan::Cdebugable silent("Silent");
  EXPECT_EQ(run("Silent one"), "");
}

TEST(ConsoleCommand, HelpAsksEachObjectInTheOrderOfTheirConstructionForItsLineAndPassesTheCommandToIt) {
  EXPECT_EQ(run("help"), "");
  const Echo second("B");
  const Echo first("A");
  const Recorder recorder;
  EXPECT_EQ(run("help"), "B\nA\n<help>\n");
  EXPECT_EQ(run("help A"), "B\nA\n<help><A>\n");
}

TEST(ConsoleCommand, AnObjectNamedHelpGoesBeforeTheList) {
  const Echo echo("help");
  EXPECT_EQ(run("help"), "\n");
}

TEST(ConsoleCommand, AnUnknownObjectIsNamedAndTheOthersListed) {
  const Echo echo("Echo");
  const Recorder recorder;
  EXPECT_EQ(run("Nobody one two"), "No such object: Nobody\nEcho\n<Nobody><one><two>\n");
}

TEST(ConsoleCommand, NamesAreMatchedWholeAndInTheirCase) {
  const Echo echo("Echo");
  for (const std::string& name :
       {std::string("Ech"), std::string("Echoo"), std::string("echo"), std::string("Echo\0", 5)}) {
    EXPECT_EQ(run(name + " one"), "No such object: " + name + "\nEcho\n");
  }
}

TEST(ConsoleCommand, OfTwoObjectsWithOneNameTheFirstAnswersAndTheOtherWhenItIsGone) {
  auto first = std::make_unique<Talker>("Same", [](const auto&) { return "first"; });
  const Talker second("Same", [](const auto&) { return "second"; });
  EXPECT_EQ(run("Same"), "first");
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

TEST(ConsoleCommand, BlanksAreNoCommandAndQuitIsTheFirstWord) {
  for (const char* const blank : {"", " \t "}) {
    EXPECT_TRUE(ConsoleCommand(blank).isEmpty());
    EXPECT_FALSE(ConsoleCommand(blank).isQuit());
  }
  for (const char* const quit : {"quit", " quit\t", "quit now"}) {
    EXPECT_TRUE(ConsoleCommand(quit).isQuit()) << quit;
  }
  for (const char* const other : {" x ", "Quit", "quitter"}) {
    EXPECT_FALSE(ConsoleCommand(other).isQuit()) << other;
    EXPECT_FALSE(ConsoleCommand(other).isEmpty()) << other;
  }
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
