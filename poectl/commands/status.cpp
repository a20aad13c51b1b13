#include "poectl/command_line.h"
#include "poectl/service/status_receiver.h"
#include "poectl/status/status_export.h"
#include "poectl/status/status_text.h"

#include <chrono>
#include <cstdio>
#include <memory>

namespace {

constexpr std::chrono::milliseconds MESSAGE_LIMIT{3000}; // the service reports once a second

struct StatusOptions {
  bool json = false;
  bool prometheus = false;
};

std::string formatted(const PoeStatus& status, const StatusOptions& options) {
  if (options.json) {
    return statusJson(status);
  }
  return options.prometheus ? statusPrometheus(status) : statusText(1, status, {});
}

int printStatus(const StatusOptions& options) {
  StatusReceiver receiver([](const std::string& /*a message of another kind is no status*/) {});
  PoeStatus status{};
  if (receiver.next(MESSAGE_LIMIT, status) != StatusReceiver::Event::MESSAGE) {
    std::fprintf(stderr, "poectl: no status message came on %s: is the service running?\n", QUEUE_TO_MAIN);
    return 1;
  }
  std::fputs(formatted(status, options).c_str(), stdout);
  return 0;
}

} // namespace

Action statusCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<StatusOptions>();
  syntax.flag("--json", options->json);
  syntax.flag("--prometheus", options->prometheus);
  syntax.exclude("--json", "--prometheus");
  return [options] { return printStatus(*options); };
}
