#include "poectl/feed/watch_options.h"

#include "poectl/command_line.h"
#include "poectl/feed/watch_stream.h"
#ifdef POECTL_HAS_VIEW
#include "poectl/view/live_view.h"
#endif

#include <memory>
#include <unistd.h>

namespace {

constexpr unsigned long MAX_COUNT = 1'000'000'000;

#ifdef POECTL_HAS_VIEW
bool wantsView(const WatchOptions& options) {
  return !options.json && !options.events && !options.count && isatty(STDIN_FILENO) != 0 &&
         isatty(STDOUT_FILENO) != 0;
}
#endif

int watch(const WatchOptions& options) {
#ifdef POECTL_HAS_VIEW
  if (wantsView(options) && terminalCanShowView()) {
    return runLiveView(options);
  }
#endif
  return watchStream(options);
}

} // namespace

Action watchCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<WatchOptions>();
  placeSourceOptions(syntax, options->source);
  syntax.flag("--json", options->json);
  syntax.flag("--events", options->events);
  syntax.number("--count", options->count, 1, MAX_COUNT);
  syntax.seconds("--seconds", options->seconds);
  syntax.flag("--example", options->sendExample);
  syntax.text("--record", options->record);
  syntax.text("--control", options->cardControl);
  syntax.reportWriteErrors();
  return [options] { return watch(*options); };
}
