#include "poectl/commands/status.h"

#include "poectl/service/status_receiver.h"
#include "poectl/status/status_export.h"
#include "poectl/status/status_text.h"

#include <chrono>
#include <cstdio>

namespace {

constexpr std::chrono::milliseconds PATIENCE{3000}; // the service reports once a second

std::string formatted(const PoeStatus& status, StatusFormat format) {
  switch (format) {
  case StatusFormat::JSON:
    return statusJson(status);
  case StatusFormat::PROMETHEUS:
    return statusPrometheus(status);
  case StatusFormat::TEXT:
    break;
  }
  return statusText(1, status, {});
}

} // namespace

int printStatus(StatusFormat format) {
  StatusReceiver receiver([](const std::string& /*a message of another kind is no status*/) {});
  PoeStatus status{};
  if (receiver.next(PATIENCE, status) != StatusReceiver::Event::MESSAGE) {
    std::fprintf(stderr, "poectl: no status message came on %s: is the service running?\n", QUEUE_TO_MAIN);
    return 1;
  }
  std::fputs(formatted(status, format).c_str(), stdout);
  return 0;
}
