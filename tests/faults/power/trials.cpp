#include "tests/faults/power/trials.h"

namespace {

TriedEvent tryEvent(const PowerEvent& event) {
  TriedEvent tried{event.name, {}};
  unsigned transfers = 0;
  for (unsigned transfer = 0; transfer <= transfers; transfer++) {
    PowerScene scene(transfer);
    event.happen(scene);
    transfers = transfer == 0 ? scene.transfers : transfers; // a failure may lead to others
    if (transfer != 0 || transfers == 0) {
      tried.trials.push_back({transfer, scene.card.histories()});
    }
  }
  return tried;
}

} // namespace

std::vector<TriedEvent> tryAll() {
  std::vector<TriedEvent> tried;
  for (const PowerEvent& event : powerEvents()) {
    tried.push_back(tryEvent(event));
  }
  return tried;
}
