// Where the control socket of the simulated card is, and who may have made its directory.
#include "poectl/card/control_path.h"

#include "poectl/card/card_client.h"
#include "tests/support/process/temporary_directory.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class CardControlPath : public ::testing::Test {
protected:
  CardControlPath() {
    unsetenv("POE_CARD_CONTROL");
    unsetenv("XDG_RUNTIME_DIR");
  }
  ~CardControlPath() override {
    unsetenv("POE_CARD_CONTROL");
    unsetenv("XDG_RUNTIME_DIR");
  }

  const TemporaryDirectory folder;
  const std::string own = "/tmp/poe_card-" + std::to_string(getuid());
};

TEST_F(CardControlPath, ComesFromTheOptionOrTheEnvironment) {
  setenv("POE_CARD_CONTROL", "/of/the/environment", 1);
  EXPECT_EQ(cardControlPath(""), "/of/the/environment");
  EXPECT_EQ(cardControlPath("/of/the/option"), "/of/the/option");
}

TEST_F(CardControlPath, IsInTheRuntimeDirectoryOfTheUser) {
  setenv("POE_CARD_CONTROL", "", 1);
  setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
  EXPECT_EQ(cardControlPath(""), folder.file("poe_card.socket"));
}

TEST_F(CardControlPath, IsInADirectoryOfTheUsersOwnWhereThereIsNoRuntimeDirectory) {
  EXPECT_EQ(cardControlPath(""), own + "/poe_card.socket");
  setenv("XDG_RUNTIME_DIR", "relative", 1);
  EXPECT_EQ(cardControlPath(""), own + "/poe_card.socket");
  setenv("XDG_RUNTIME_DIR", "/tmp", 1);
  EXPECT_EQ(cardControlPath(""), own + "/poe_card.socket") << "everybody can write there";
}

TEST_F(CardControlPath, HasADirectoryThatOnlyTheUserCanEnter) {
  EXPECT_EQ(newCardControlPath(""), own + "/poe_card.socket");
  struct stat status {};
  ASSERT_EQ(lstat(own.c_str(), &status), 0);
  EXPECT_TRUE(S_ISDIR(status.st_mode));
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
  EXPECT_EQ(status.st_uid, geteuid());
  rmdir(own.c_str()); // unless a card uses it
}

TEST_F(CardControlPath, IsRefusedInADirectoryOfAnotherUser) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give a directory to somebody";
  }
  const uid_t user = 100000 + static_cast<uid_t>(getpid());
  const std::string directory = "/tmp/poe_card-" + std::to_string(user);
  ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_THROW(cardControlPath(""), CardError) << "it is root's";
  EXPECT_THROW(newCardControlPath(""), CardError);
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(rmdir(directory.c_str()), 0);
}

TEST_F(CardControlPath, IsRefusedThroughALink) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs a user of its own";
  }
  const uid_t user = 100000 + static_cast<uid_t>(getpid());
  const std::string link = "/tmp/poe_card-" + std::to_string(user);
  ASSERT_EQ(symlink(folder.path().c_str(), link.c_str()), 0);
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_THROW(cardControlPath(""), CardError);
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(unlink(link.c_str()), 0);
}

} // namespace
