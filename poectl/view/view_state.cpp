#include "poectl/view/view_state.h"

void ViewState::show(const Snapshot& next) {
  snapshot = next;
  const PoeStatus& status = next.status;
  if (next.knows(*portField("powerConsumption")) && next.knows(*chipField("mainPower"))) {
    history.add({status.mainConsumption, status.mainPower});
    for (unsigned ofPort = 0; ofPort < POE_PORTS; ofPort++) {
      portHistory[ofPort].add(
          {status.port[ofPort].powerConsumption, settings[ofPort].limitW.value_or(MAX_PORT_LIMIT_W)});
    }
  } else {
    addGap();
  }
}

void ViewState::addGap() {
  history.addGap();
  for (ConsumptionHistory& ofPort : portHistory) {
    ofPort.addGap();
  }
}

void ViewState::log(const std::string& time, const StatusEvent& event) {
  events.push_back({time, event});
  if (scrolledBack > 0) {
    scrolledBack++; // what is looked at stays in its place
  }
  if (events.size() > MAX_EVENTS) {
    events.pop_front();
  }
  if (event.kind == EventKind::COUNTER) {
    changedAt[event.port][event.counter] = number();
  }
}
