// What poe_card needs of the machine before it starts a command: a folder for its files, and descriptors.
#include "card_process.h"
#include "tests/support/process/command.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

const std::string PROBE = "'" CARD_PROBE "' open bind:0x20 read:0x43";

std::string noFolder(const std::string& folder, const std::string& why) {
  return "no folder for temporary files in '" + folder + "': " + why +
         "; accepted is a TMPDIR that can be written and has room";
}

// A folder with a file system of its own, for the commands of a shell.
class PoeCardOnAFileSystem : public testing::Test {
protected:
  void SetUp() override {
    m_unshare = geteuid() == 0 ? "unshare -m" : "unshare -rm";
    if (run(m_unshare + " mount -t tmpfs none '" + folder() + "'").status != 0) {
      GTEST_SKIP() << "needs a mount namespace, which '" << m_unshare << "' cannot make here";
    }
  }
  // `options` of mount, `prepare` to be done in the folder; then runs the probe with its TMPDIR there.
  CommandResult runOn(const std::string& options, const std::string& prepare) const {
    return run(m_unshare + " sh -c \"mount -t tmpfs -o " + options + " none '" + folder() + "' && cd '" +
               folder() + "' && " + prepare + " && TMPDIR='" + folder() + "' exec '" POE_CARD "' -- " +
               PROBE + "\"");
  }
  std::string folder() const { return m_directory.path().string(); }

private:
  TemporaryDirectory m_directory;
  std::string m_unshare;
};

TEST_F(PoeCardOnAFileSystem, ThatIsReadOnlySaysSo) {
  const CommandResult result = runOn("ro", "true");
  EXPECT_EQ(result.output, "poe_card: " + noFolder(folder(), "Read-only file system") + "\n");
  EXPECT_EQ(result.status, 2);
}

TEST_F(PoeCardOnAFileSystem, ThatIsFullSaysSo) {
  const CommandResult result = runOn("size=64k", "head -c 60000 /dev/zero >file");
  EXPECT_EQ(result.output, "poe_card: " + noFolder(folder(), "No space left on device") + "\n");
  EXPECT_EQ(result.status, 2);
}

TEST_F(PoeCardOnAFileSystem, ThatHasNoRoomForTheFilesOfTheAdapterSaysSoInOneLine) {
  const CommandResult result = runOn("size=1m,nr_inodes=10", "true");
  EXPECT_EQ(result.output.rfind("poe_card: the simulated adapter fails: ", 0), 0U) << result.output;
  EXPECT_NE(result.output.find(": No space left on device\n"), std::string::npos) << result.output;
  EXPECT_EQ(result.output.find('\n'), result.output.size() - 1) << result.output;
  EXPECT_EQ(result.status, 2);
}

TEST_F(PoeCardOnAFileSystem, WithRoomRunsAsTheTestsOfTheOthersNeed) {
  const CommandResult result = runOn("size=1m", "true");
  EXPECT_EQ(result.output, "ok\nok\n0x41\n");
  EXPECT_EQ(result.status, 0);
}

TEST(PoeCardFolder, ThatIsMissingIsRefused) {
  expectRefusal(runCard("/no/such/folder", {"--", CARD_PROBE, "open"}),
                noFolder("/no/such/folder", "No such file or directory"));
}

TEST(PoeCardFolder, MayHaveAPathOf58CharactersAndIsRefusedWhenItHasMore) {
  const TemporaryDirectory tmp;
  const std::string start = tmp.path().string() + "/";
  ASSERT_LT(start.size(), 58U);
  const fs::path longest = start + std::string(58 - start.size(), 'x');
  fs::create_directory(longest);
  const CardResult result = runCard(longest, {"--", CARD_PROBE, "open", "bind:0x20", "read:0x43"});
  EXPECT_EQ(result.out, "ok\nok\n0x41\n");
  EXPECT_EQ(result.err, "");
  const fs::path tooLong = longest.string() + "x";
  fs::create_directory(tooLong);
  expectRefusal(runCard(tooLong, {"--", CARD_PROBE, "open"}),
                "the path of the folder for temporary files, '" + tooLong.string() +
                    "', has 59 characters; accepted is a TMPDIR of at most 58");
}

TEST(PoeCardFolder, IsNotTheCommands) {
  const TemporaryDirectory tmp;
  EXPECT_EQ(runCard(tmp.path(), {"--", "sh", "-c", "echo $TMPDIR"}).out, tmp.path().string() + "\n");
}

TEST(PoeCardFolder, OfAKilledPredecessorIsRemovedAtTheNextStart) {
  const TemporaryDirectory tmp;
  {
    CardProcess killed(tmp.path(), {"--", CARD_PROBE, "catch:15", "say:ready", "wait:15"});
    ASSERT_EQ(killed.line(), "ready");
    killed.send(SIGKILL);
    EXPECT_EQ(killed.wait(), -SIGKILL);
  }
  ASSERT_FALSE(fs::is_empty(tmp.path()));
  EXPECT_EQ(runCard(tmp.path(), {"--", "true"}).status, 0);
  EXPECT_TRUE(fs::is_empty(tmp.path()));
}

TEST(PoeCardFolder, OfALivingPoeCardStays) {
  const TemporaryDirectory tmp;
  CardProcess living(
      tmp.path(), {"--", CARD_PROBE, "catch:15", "say:ready", "wait:15", "open", "bind:0x20", "read:0x43"});
  ASSERT_EQ(living.line(), "ready");
  EXPECT_EQ(runCard(tmp.path(), {"--", "true"}).status, 0);
  living.send(SIGTERM);
  EXPECT_EQ(living.rest(), "caught 15\nok\nok\n0x41\n");
  EXPECT_EQ(living.wait(), 0);
}

TEST(PoeCardFolder, RemovesNothingOfTheUsersOwn) {
  const TemporaryDirectory tmp;
  const fs::path target = tmp.path() / "target";
  fs::create_directory(target);
  std::ofstream(target / "poe_card.lock") << "";
  fs::permissions(target, fs::perms::owner_all);
  fs::create_directory_symlink(target, tmp.path() / "poe_card.symbol");
  fs::create_directory(tmp.path() / "poe_card.backup"); // no lock in it
  fs::permissions(tmp.path() / "poe_card.backup", fs::perms::owner_all);
  std::ofstream(tmp.path() / "poe_card.asfile") << "";
  EXPECT_EQ(runCard(tmp.path(), {"--", "true"}).status, 0);
  EXPECT_TRUE(fs::exists(tmp.path() / "poe_card.symbol" / "poe_card.lock"));
  EXPECT_TRUE(fs::exists(tmp.path() / "poe_card.backup"));
  EXPECT_TRUE(fs::exists(tmp.path() / "poe_card.asfile"));
}

TEST(PoeCardFolder, OfAnotherUserStays) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs root to make a folder of another user";
  }
  const TemporaryDirectory tmp;
  const fs::path foreign = tmp.path() / "poe_card.others";
  fs::create_directory(foreign);
  fs::permissions(foreign, fs::perms::owner_all);
  std::ofstream(foreign / "poe_card.lock") << "";
  const auto stays = [&tmp, &foreign] {
    EXPECT_EQ(runCard(tmp.path(), {"--", "true"}).status, 0);
    return fs::exists(foreign);
  };
  ASSERT_EQ(chown(foreign.c_str(), 65534, 65534), 0);
  EXPECT_TRUE(stays());
  ASSERT_EQ(chown(foreign.c_str(), 0, 0), 0);
  EXPECT_FALSE(stays()); // by its owner alone
}

TEST(PoeCardDescriptors, TooFewAreRefused) {
  const CommandResult result = run("ulimit -n 16; exec '" POE_CARD "' -- " + PROBE);
  EXPECT_EQ(result.output.rfind("poe_card: too few file descriptors: ", 0), 0U) << result.output;
  const std::string end = " are free (Too many open files); accepted are at least 32, see 'ulimit -n'\n";
  EXPECT_EQ(result.output.find(end), result.output.size() - end.size()) << result.output;
  EXPECT_EQ(result.output.find('\n'), result.output.size() - 1) << result.output;
  EXPECT_EQ(result.status, 2);
}

} // namespace
