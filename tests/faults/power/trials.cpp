#include "tests/faults/power/trials.h"

namespace {

TriedEvent tryEvent(const PowerEvent& event) {
  TriedEvent tried{event.name, {}};
  unsigned transfers = 0;
  {
    PowerScene scene;
    transfers = event.happen(scene, 0);
    if (transfers == 0) {
      tried.trials.push_back({0, scene.card.histories()});
    }
  }
  for (unsigned transfer = 1; transfer <= transfers; transfer++) {
    PowerScene scene;
    event.happen(scene, transfer);
    tried.trials.push_back({transfer, scene.card.histories()});
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
