#include "poectl/feed/watch_stream.h"

#include "poectl/host/note.h"
#include "poectl/host/time_limit.h"
#include "poectl/record/record_writer.h"
#include "poectl/status/event_json.h"
#include "poectl/status/status_export.h"
#include "poectl/status/status_text.h"
#include "poectl/status/timestamp.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds REFRESH{500}; // of the age that is shown

// Shows text on standard output: in the place of what it showed before on a terminal, after it elsewhere.
class Display {
public:
  bool isTerminal() const { return m_terminal; }

  void replace(const std::string& text) {
    if (m_lines > 0) {
      std::printf("\033[%uA\033[J", m_lines); // up to the start of the last text, and clear from there
    }
    m_lines = static_cast<unsigned>(std::count(text.begin(), text.end(), '\n'));
    append(text);
  }

  void append(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    m_writeError = std::fflush(stdout) == 0 ? 0 : errno;
  }

  // An errno; 0: none.
  int writeError() const { return m_writeError; }

private:
  const bool m_terminal = isatty(STDOUT_FILENO) != 0;
  unsigned m_lines = 0;
  int m_writeError = 0;
};

class Stream {
public:
  explicit Stream(const WatchOptions& options)
      : m_options(options), m_limit(options.seconds), m_record(openRecord(options.record, printNote)),
        m_feed(openFeed(options.source, options.sendExample, printNote)) {}

  int run() {
    if (m_options.events && m_feed->source() == Snapshot::Source::CONSOLE) {
      printNote("from the " + m_feed->origin()); // the lines of events do not say it
    }
    std::signal(SIGPIPE, SIG_IGN); // a reader that has seen enough ends us without leaving the queue behind
    while (!m_limit.isOver() && !isCountReached() && m_display.writeError() == 0) {
      showAge();
      const SnapshotFeed::Update update = m_feed->next(m_limit.orLess(REFRESH));
      if (update.event == SnapshotFeed::Event::INTERRUPTED) {
        break;
      }
      show(update);
    }
    return exitStatus();
  }

private:
  bool isCountReached() const { return m_options.count && m_feed->count() >= *m_options.count; }

  bool showsTable() const { return !m_options.json && !m_options.events; }

  void show(const SnapshotFeed::Update& update) {
    const bool isSnapshot = update.event == SnapshotFeed::Event::SNAPSHOT;
    const std::string time = isoTime(isSnapshot ? m_feed->last()->end : currentTime());
    if (isSnapshot && m_record) {
      m_record->write(*m_feed->last());
    }
    if (isSnapshot && m_options.json && !m_options.events) {
      m_display.append(snapshotJsonLine(*m_feed->last()));
    } else if (m_options.events) {
      showEvents(time, update.events);
    } else if (showsTable() && !m_display.isTerminal()) {
      showBlock(time, update);
    }
  }

  void showEvents(const std::string& time, const std::vector<StatusEvent>& events) {
    for (const StatusEvent& event : events) {
      const Snapshot::Source source = m_feed->source();
      m_display.append(m_options.json ? eventJsonLine(time, m_feed->count(), event, source, m_feed->names())
                                      : time + " " + eventText(event, source, m_feed->names()) + "\n");
    }
  }

  // A snapshot as a table, after a line that reports staleness.
  void showBlock(const std::string& time, const SnapshotFeed::Update& update) {
    for (const StatusEvent& event : update.events) {
      if (event.kind == EventKind::STALE || event.kind == EventKind::RESUMED) {
        m_display.append(time + " " + eventText(event, m_feed->source()) + "\n\n");
      }
    }
    if (update.event == SnapshotFeed::Event::SNAPSHOT) {
      m_display.append(snapshotBlock(*m_feed->last()));
    }
  }

  std::string table() const { return snapshotText(*m_feed->last()); }

  // The table on a terminal, which is kept up to date.
  void showAge() {
    if (!m_display.isTerminal() || !showsTable()) {
      return;
    }
    const bool isFromQueue = m_feed->source() == Snapshot::Source::QUEUE;
    if (!m_feed->last()) {
      m_display.replace(isFromQueue ? "waiting for the service's first status message\n"
                                    : "waiting for the first snapshot from the console\n");
      return;
    }
    const std::string age = secondsText(m_feed->age());
    m_display.replace(table() +
                      (m_feed->isStale() ? std::string("STALE: no ") +
                                               (isFromQueue ? "message" : "snapshot") + " for " + age
                                         : "age " + age) +
                      "\n");
  }

  int exitStatus() const {
    if (m_display.writeError() != 0 && m_display.writeError() != EPIPE) {
      printNote(std::string("cannot write to standard output: ") + std::strerror(m_display.writeError()));
      return 1;
    }
    if (m_feed->count() == 0) {
      printNote(m_feed->nothingCame());
      return 1;
    }
    return m_record && !m_record->isComplete() ? 1 : 0;
  }

  const WatchOptions m_options;
  const TimeLimit m_limit;
  const std::unique_ptr<RecordWriter> m_record; // before the feed: it may be refused
  const std::unique_ptr<SnapshotFeed> m_feed;
  Display m_display;
};

} // namespace

int watchStream(const WatchOptions& options) {
  return Stream(options).run();
}
