// poectl-page: the page of "poectl serve", a program of its own so that poectl does not need the library of
// the HTTP server. Exit status as poectl.
#include "poectl/card/card_link.h"
#include "poectl/card/control_path.h"
#include "poectl/config/input_file.h"
#include "poectl/host/note.h"
#include "poectl/page/page_guard.h"
#include "poectl/page/page_options.h"
#include "poectl/page/page_server.h"
#include "poectl/page/page_updates.h"
#include "poectl/status/timestamp.h"

#include <algorithm>
#include <csignal>
#include <cstdio>

namespace {

constexpr std::chrono::milliseconds REFRESH{500};     // of what changes without a message
constexpr std::chrono::milliseconds CARD_REFRESH{50}; // while the card carries a command out
constexpr unsigned MAX_COMMANDS = 16;                 // that the card has not carried out yet
constexpr unsigned SERVICE_UNAVAILABLE = 503;

class Page {
public:
  explicit Page(const PageOptions& options)
      : m_socket(static_cast<unsigned>(options.port)), m_guard(m_socket.port(), newPageToken()),
        m_feed(openFeed(options.source, false, [this](const std::string& line) { warn(line); })),
        m_card(cardControlPath(options.cardControl)), m_updates(m_feed->origin(), m_feed->staleAfter()),
        m_server(m_socket, m_guard,
                 {[this](std::uint64_t& number) { return m_updates.next(number, m_feed->age()); },
                  [this](const std::string& command) { return send(command); }}) {}

  // Until a signal ends it.
  void run() {
    if (m_feed->source() == Snapshot::Source::CONSOLE) {
      printNote("from the " + m_feed->origin());
    }
    std::printf("%s\n", m_guard.address().c_str());
    std::fflush(stdout);
    while (takeSnapshot()) {
      takeCard();
      m_server.work();
      m_server.wait({m_feed->descriptor(), m_feed->endSignals().descriptor()},
                    m_commands > 0 ? CARD_REFRESH : REFRESH);
    }
  }

private:
  void warn(const std::string& line) {
    printNote(line);
    m_warning = line;
  }

  // False when a signal has come.
  bool takeSnapshot() {
    const SnapshotFeed::Update update = m_feed->next(std::chrono::milliseconds(0));
    const bool isSnapshot = update.event == SnapshotFeed::Event::SNAPSHOT;
    if (isSnapshot) {
      m_updates.snapshot(*m_feed->last());
    }
    for (const StatusEvent& event : update.events) {
      m_updates.change(isoTime(isSnapshot ? m_feed->last()->end : currentTime()), m_feed->count(), event,
                       *m_feed->last());
    }
    if (!m_warning.empty()) {
      m_updates.note(m_warning);
      m_warning.clear();
    }
    return update.event != SnapshotFeed::Event::INTERRUPTED;
  }

  void takeCard() {
    const CardLink::Update update = m_card.update();
    if (update.isCurrent) {
      m_commands = 0;
    }
    m_isCardThere = update.state.has_value();
    m_updates.card(update.state, update.answer);
  }

  std::optional<PageRefusal> send(const std::string& command) {
    if (!m_isCardThere) {
      return PageRefusal{SERVICE_UNAVAILABLE, "no simulated card answers"};
    }
    if (m_commands >= MAX_COMMANDS) {
      return PageRefusal{SERVICE_UNAVAILABLE, "the simulated card is still busy"};
    }
    m_commands++;
    m_card.send(command);
    return std::nullopt;
  }

  std::string m_warning; // that the pages do not have yet
  PageSocket m_socket;   // before the feed: it may be refused
  const PageGuard m_guard;
  const std::unique_ptr<SnapshotFeed> m_feed;
  CardLink m_card;
  unsigned m_commands = 0;
  bool m_isCardThere = false;
  PageUpdates m_updates;
  PageServer m_server;
};

int fail(const std::exception& error, int status) {
  printNote(error.what());
  return status;
}

} // namespace

int main(int argc, char** argv) {
  constexpr int FAILED = 1;
  constexpr int BAD_INPUT = 2;
  try {
    std::signal(SIGPIPE, SIG_IGN);
    Page(pageOptions({argv + (argc > 0 ? 1 : 0), argv + argc})).run();
    return 0;
  } catch (const InputError& error) {
    return fail(error, BAD_INPUT);
  } catch (const UsageError& error) {
    return fail(error, BAD_INPUT);
  } catch (const std::exception& error) {
    return fail(error, FAILED);
  }
}
