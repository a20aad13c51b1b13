#include "poectl/view/view_state.h"

void ViewState::log(const std::string& time, const StatusEvent& event) {
  events.push_back({time, event});
  if (scrolledBack > 0) {
    scrolledBack++; // what is looked at stays in its place
  }
  if (events.size() > MAX_EVENTS) {
    events.pop_front();
  }
  if (event.kind == EventKind::COUNTER) {
    changedAt[event.port][event.counter] = messages;
  }
}
