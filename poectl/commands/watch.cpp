#include "poectl/commands/watch.h"

#include "poectl/commands/watch_stream.h"
#ifdef POECTL_HAS_VIEW
#include "poectl/view/live_view.h"
#endif

#include <unistd.h>

namespace {

#ifdef POECTL_HAS_VIEW
bool wantsView(const WatchOptions& options) {
  return !options.json && !options.events && options.count == 0 && isatty(STDIN_FILENO) != 0 &&
         isatty(STDOUT_FILENO) != 0;
}
#endif

} // namespace

int watch(const WatchOptions& options) {
#ifdef POECTL_HAS_VIEW
  if (wantsView(options) && terminalCanShowView()) {
    return runLiveView(options);
  }
#endif
  return watchStream(options);
}
