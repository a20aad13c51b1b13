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

TEST(ConsoleCommand, AnObjectNamedHelpGoesBeforeTheList) {
  const Echo echo("help");
  EXPECT_EQ(run("help"), "\n");
}

TEST(ConsoleCommand, AnUnknownObjectIsNamedAndTheOthersListed) {
  const Echo echo("Echo");
  const Recorder recorder;
  EXPECT_EQ(run("Nobody one two"), "No such object: Nobody\nEcho\n<Nobody><one><two>\n");
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
