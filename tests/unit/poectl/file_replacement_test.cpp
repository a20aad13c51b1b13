// New contents of a file, which come at once and with the properties of the old ones.
#include "poectl/config/file_replacement.h"

#include "poectl/config/input_file.h"
#include "tests/support/error_text.h"
#include "tests/support/process/temporary_directory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class FileReplacementTest : public ::testing::Test {
protected:
  static std::string refusal(const std::string& name) {
    return errorText<InputError>([&] { FileReplacement(name, "new").putInPlace(); });
  }

  const TemporaryDirectory folder;
  const std::string path = folder.write("card.toml", "old");
};

TEST_F(FileReplacementTest, KeepsModeAndOwnerAndTheLinkThatLeadsToTheFile) {
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  const bool isRoot = geteuid() == 0;
  ASSERT_TRUE(!isRoot || chown(path.c_str(), 1234, 5678) == 0);
  const std::string link = folder.file("link");
  ASSERT_EQ(symlink("card.toml", link.c_str()), 0);
  FileReplacement(link, "new").putInPlace();
  EXPECT_EQ(folder.read("card.toml"), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
  EXPECT_EQ(status.st_uid, isRoot ? 1234 : geteuid());
  EXPECT_EQ(status.st_gid, isRoot ? 5678 : getegid());
  EXPECT_EQ(folder.entries(), 2U);
}

TEST_F(FileReplacementTest, LeavesTheOldContentsUntilItIsPutInPlace) {
  {
    const FileReplacement replacement(path, "new");
    EXPECT_EQ(folder.read("card.toml"), "old");
  }
  EXPECT_EQ(folder.read("card.toml"), "old");
  EXPECT_EQ(folder.entries(), 1U) << "nothing is left beside it";
}

TEST_F(FileReplacementTest, RefusesWhatIsNoFileAndWhatMayNotBeWritten) {
  EXPECT_EQ(refusal(folder.file("nothing")),
            folder.file("nothing") + ": cannot be changed: No such file or directory");
  EXPECT_EQ(refusal(folder.path()),
            folder.path().string() + ": cannot be changed: a regular file is accepted");
  if (geteuid() != 0) {
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    EXPECT_EQ(refusal(path), path + ": cannot be changed: Permission denied");
    EXPECT_EQ(folder.read("card.toml"), "old");
  }
}

} // namespace
