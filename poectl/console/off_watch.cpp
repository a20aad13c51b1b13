#include "poectl/console/off_watch.h"

#include "poectl/console/console_client.h"
#include "poectl/console/console_report.h"
#include "text/text.h"

#include <poll.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds BETWEEN_LOOKS{200};

// False when `stop` became readable.
bool waitFor(milliseconds time, int stop) {
  const Clock::time_point end = Clock::now() + time;
  for (milliseconds left = time; left.count() > 0;
       left = std::chrono::ceil<milliseconds>(end - Clock::now())) {
    pollfd stopped{stop, POLLIN, 0};
    if (poll(&stopped, 1, static_cast<int>(left.count())) > 0) {
      return false;
    }
  }
  return true;
}

} // namespace

bool hasPower(unsigned port, milliseconds limit, int stop) {
  const ChannelReport channel =
      parseChannel(askConsole(consoleLine("channel " + std::to_string(port)), {limit, stop}), port);
  return channel.enabled || channel.powerGood;
}

OffWatch watchOff(unsigned port, Clock::time_point since, const OffWait& wait) {
  bool wasOff = false;
  try {
    while (waitFor(BETWEEN_LOOKS, wait.stop)) {
      const auto left = std::chrono::ceil<milliseconds>(since + wait.most - Clock::now());
      if (left.count() <= 0) {
        return {OffWatch::End::UNKNOWN, text::formatted("it still had power after %g s",
                                                        std::chrono::duration<double>(wait.most).count())};
      }
      const bool isOff = !hasPower(port, left, wait.stop);
      if (isOff && Clock::now() - since >= wait.least) {
        return {OffWatch::End::OFF, ""};
      }
      if (!isOff && wasOff && wait.endsWhenBack) {
        return {OffWatch::End::BACK, ""};
      }
      wasOff = isOff;
    }
    return {OffWatch::End::UNKNOWN, "interrupted"};
  } catch (const ConsoleError& error) {
    return {OffWatch::End::UNKNOWN, error.what()};
  }
}
