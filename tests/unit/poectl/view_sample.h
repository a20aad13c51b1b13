// A state of the live view in which every part has something to show.
#pragma once

#include "poectl/view/view_state.h"

inline PoeStatus viewSampleStatus() {
  PoeStatus status{};
  status.mainPower = 100;
  status.mainOperStatus = 1;
  status.mainConsumption = 28;
  status.port[0] = {3, 4, 3, 6, 0, 0, 0, 0, 0, 0};
  status.port[1] = {3, 4, 5, 22, 12, 9999, 10000, 999999, 1000000, 4294967295};
  status.port[2] = {4, 3, 0, 0, 7, 0, 0, 0, 0, 0};
  status.port[3] = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  status.deviceTemperature = 40;
  return status;
}

inline ViewState viewSample() {
  ViewState state;
  state.status = viewSampleStatus();
  state.messages = 123;
  state.age = std::chrono::milliseconds(400);
  state.settings = {PortSettings{true, 15, 1}, PortSettings{true, 30, 2}, PortSettings{true, 15, 3},
                    PortSettings{false, 15, 3}};
  for (const std::uint32_t consumption :
       {0U, 1U, 10U, 20U, 30U, 40U, 50U, 60U, 70U, 80U, 90U, 100U, 110U, 28U}) {
    state.history.add({consumption, 100});
  }
  state.history.addGap();
  state.history.add({28, 50});
  for (unsigned number = 1; number <= 8; number++) {
    state.log("07:08:0" + std::to_string(number), {EventKind::COUNTER, 2, 0, number - 1, number});
  }
  state.card.emplace();
  state.card->port[0] = {"device=good class=2 watts=6 fault=none", 6};
  state.note = "card: plug 0 class=2 watts=6";
  return state;
}
