// The system calls of poe_card failing, one at a time. Whatever fails, poe_card ends in time and not by a
// signal; its command has seen the card, or one line says why not and the status is 1 or 2; no file for its
// own use is left behind.
#include "tests/faults/failing_calls.h"

#include <filesystem>
#include <string>

namespace {

// Left out: where these fail, the library that simulates the adapter aborts, or leaves all signals blocked.
// poe_card makes none of the first two itself. Waiting for a child cannot fail while there is one.
const std::set<std::string> LIBRARY = {"readlinkat", "symlink", "rt_sigprocmask", "wait4"};

class CardCalls : public FailingCalls {
protected:
  // What is in the folder for temporary files, which is emptied.
  std::string takeRemains() const {
    std::string found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_tmp)) {
      found += entry.path().filename().string() + " ";
    }
    std::filesystem::remove_all(m_tmp);
    std::filesystem::create_directory(m_tmp);
    return found;
  }

  const std::string m_tmp = m_folder.file("tmp");
};

TEST_F(CardCalls, OfACommandOnACard) {
  std::filesystem::create_directory(m_tmp);
  const std::string command = std::string(POE_CARD) + " --log " + m_folder.file("log") + " --record " +
                              m_folder.file("record") + " --control " + m_tmp +
                              "/control --plug '0 class=2 watts=6' -- i2cget -y 0 0x20 0x43";
  // With the library there, poe_card does not start over.
  const std::string options = "-E TMPDIR=" + m_tmp + " -E LD_PRELOAD=libumockdev-preload.so.0";
  EXPECT_GT(failEach(
                command, options, 3,
                [this](const Fault& fault) {
                  const std::string left = takeRemains();
                  const bool isRemoval =
                      fault.call == "unlink" || fault.call == "unlinkat" || fault.call == "rmdir";
                  return isRemoval ? "" : left;
                },
                LIBRARY),
            40U);
}

} // namespace
