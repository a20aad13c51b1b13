#include "poectl/view/replay_options.h"

#include "poectl/command_line.h"
#include "poectl/host/note.h"
#include "poectl/record/record_events.h"
#include "poectl/record/record_reader.h"
#include "poectl/status/event_json.h"
#include "poectl/status/status_text.h"
#include "poectl/status/timestamp.h"
#ifdef POECTL_HAS_VIEW
#include "poectl/view/replay_view.h"
#include "poectl/view/view_screen.h"
#endif

#include <cstdio>
#include <memory>
#include <unistd.h>

namespace {

// One record after the other on standard output.
class ReplayStream {
public:
  explicit ReplayStream(const ReplayOptions& options) : m_options(options) {}

  void print(const Record& record) {
    if (m_options.json && !m_options.events) {
      put(record.line + "\n");
      return;
    }
    for (const RecordedEvent& recorded : m_events.record(record.snapshot)) {
      const std::string time = isoTime(recorded.time);
      const StatusEvent& event = recorded.event;
      const std::string line = time + " " + eventText(event, record.snapshot.source) + "\n";
      if (m_options.events) {
        put(m_options.json
                ? eventJsonLine(time, numberOf(event, record.snapshot), event, record.snapshot.source)
                : line);
      } else if (event.kind == EventKind::STALE || event.kind == EventKind::RESUMED) {
        put(line);
        put("\n");
      }
    }
    if (!m_options.events) {
      put(snapshotBlock(record.snapshot));
    }
    m_lastNumber = record.snapshot.number;
  }

private:
  static void put(const std::string& text) { std::fputs(text.c_str(), stdout); }

  // A silence is noticed before the record that ends it.
  unsigned long numberOf(const StatusEvent& event, const Snapshot& snapshot) const {
    return event.kind == EventKind::STALE ? m_lastNumber : snapshot.number;
  }

  const ReplayOptions m_options;
  RecordEvents m_events;
  unsigned long m_lastNumber = 0;
};

RecordReader::Warn warnOf(const ReplayOptions& options) {
  if (!options.skipDamaged) {
    return {};
  }
  return printNote;
}

int printRecords(const ReplayOptions& options) {
  RecordReader reader(options.file, warnOf(options));
  ReplayStream stream(options);
  try {
    while (const auto record = reader.next()) {
      stream.print(*record);
    }
  } catch (const InputError&) {
    std::fflush(stdout); // the error comes after what is shown
    throw;
  }
  return 0;
}

int replay(const ReplayOptions& options) {
#ifdef POECTL_HAS_VIEW
  if (!options.json && !options.events && isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0 &&
      terminalCanShowView()) {
    return runReplayView(options);
  }
#endif
  return printRecords(options);
}

} // namespace

Action replayCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<ReplayOptions>();
  syntax.file(options->file);
  syntax.flag("--json", options->json);
  syntax.flag("--events", options->events);
  syntax.flag("--skip-damaged", options->skipDamaged);
  return [options] { return replay(*options); };
}
