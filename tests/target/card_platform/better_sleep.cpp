#include "platform/better_sleep.h"

#include <unistd.h>

void BetterSleep(double seconds) {
  usleep(static_cast<unsigned>(seconds * 1e6));
}
