#include "poectl/command_line.h"
#include "poectl/host/note.h"
#include "poectl/publish/published.h"
#include "poectl/snmp/pass_persist.h"
#include "poectl/snmp/published_snapshot.h"
#include "poectl/status/timestamp.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace {

// snmpd gives its programs one pipe as standard output and standard error, and would take a note for an
// answer.
bool wouldNotesBeAnswers() {
  struct stat output {};
  struct stat error {};
  return fstat(STDOUT_FILENO, &output) == 0 && fstat(STDERR_FILENO, &error) == 0 &&
         output.st_dev == error.st_dev && output.st_ino == error.st_ino && !S_ISCHR(output.st_mode);
}

void logNote(const std::string& line) {
  syslog(LOG_DAEMON | LOG_WARNING, "snmp: %s", line.c_str());
}

// Until snmpd closes its end.
int answerQuestions(const std::string& directory) {
  PublishedSnapshot published(publishedFile(directory, STATUS_FILE),
                              wouldNotesBeAnswers() ? logNote : printNote);
  PassPersist session([&] { return published.look(currentTime()); });
  for (;;) {
    char block[4096];
    const ssize_t length = read(STDIN_FILENO, block, sizeof block);
    if (length < 0 && errno == EINTR) {
      continue;
    }
    if (length < 0) {
      throw std::runtime_error(std::string("cannot read standard input: ") + std::strerror(errno));
    }
    if (length == 0) {
      return 0;
    }
    const std::string answers = session.take({block, static_cast<std::size_t>(length)});
    std::fwrite(answers.data(), 1, answers.size(), stdout);
    if (std::fflush(stdout) != 0) {
      return 0; // which the caller reports
    }
  }
}

} // namespace

Action snmpCommand(CommandSyntax& syntax) {
  const auto directory = std::make_shared<std::string>();
  syntax.text("--directory", *directory);
  return [directory] {
    if (directory->empty()) {
      throw UsageError("--directory is required; accepted is the directory of 'poectl publish'");
    }
    return answerQuestions(*directory);
  };
}
