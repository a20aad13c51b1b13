#include "poectl/diagnose/log_source.h"

#include "poectl/host/child_output.h"

#include <array>
#include <sstream>

namespace {

constexpr std::array<const char*, 2> SYSTEM_LOGS = {"/var/log/syslog", "/var/log/messages"};
constexpr const char* SERVICE = "poe_service";
const std::string CURSOR = "-- cursor: ";
constexpr ChildLimits JOURNAL_LIMITS{std::chrono::seconds(5), MAX_LOG_BYTES};

class LogFile : public LogSource {
public:
  explicit LogFile(const std::string& path) : m_path(path), m_tail(path) {}
  std::string name() const override { return m_path; }
  std::string text() const override { return serviceLines(m_tail.text()); }
  std::string added() override { return serviceLines(m_tail.added()); }

private:
  std::string m_path;
  LogTail m_tail;
};

class Journal : public LogSource {
public:
  Journal() : m_text(ask({"-n", "1000"})) {}
  std::string name() const override { return "journalctl -u poe-service"; }
  std::string text() const override { return m_text; }
  std::string added() override { return m_cursor.empty() ? "" : ask({"--after-cursor=" + m_cursor}); }

private:
  // The entries without the cursor at their end, after which the next call begins.
  std::string ask(const std::vector<std::string>& range) {
    std::vector<std::string> words = {"journalctl",  "-q", "--no-pager", "-u",
                                      "poe-service", "-o", "short-iso",  "--show-cursor"};
    words.insert(words.end(), range.begin(), range.end());
    ChildOutput output = runChild(words, JOURNAL_LIMITS);
    if (!output.problem.empty()) {
      throw LogError(output.problem);
    }
    const std::size_t cursor = output.text.rfind(CURSOR);
    if (cursor != std::string::npos) {
      const std::size_t start = cursor + CURSOR.size();
      m_cursor = output.text.substr(start, output.text.find('\n', start) - start);
      output.text.resize(cursor);
    }
    return output.text;
  }

  std::string m_cursor;
  std::string m_text;
};

// "<6> text", also after the time that poe_card --log-times writes.
bool isCapturedLine(const std::string& line) {
  const std::size_t mark = line.find('<');
  const bool atStart = mark == 0 || (mark != std::string::npos && mark == line.find(' ') + 1);
  return atStart && line.size() > mark + 3 && line[mark + 1] >= '0' && line[mark + 1] <= '7' &&
         line.compare(mark + 2, 2, "> ") == 0;
}

} // namespace

std::string serviceLines(const std::string& text) {
  std::istringstream lines(text);
  std::string kept;
  for (std::string line; std::getline(lines, line);) {
    if (line.find(SERVICE) != std::string::npos || isCapturedLine(line)) {
      kept += line + "\n";
    }
  }
  return kept;
}

std::unique_ptr<LogSource> openLog(const std::string& path) {
  if (!path.empty()) {
    return std::make_unique<LogFile>(path);
  }
  std::string problems;
  for (const char* place : SYSTEM_LOGS) {
    try {
      auto file = std::make_unique<LogFile>(place);
      if (!file->text().empty()) {
        return file;
      }
      problems += std::string(place) + " has no line of " + SERVICE + "; ";
    } catch (const LogError& error) {
      problems += std::string(error.what()) + "; ";
    }
  }
  try {
    auto journal = std::make_unique<Journal>();
    if (!journal->text().empty()) {
      return journal;
    }
    problems += "the journal shows no line of poe-service";
  } catch (const LogError& error) {
    problems += error.what();
  }
  throw LogError(problems);
}
