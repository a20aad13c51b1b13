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
  state.snapshot = snapshotOfMessage(123, viewSampleStatus());
  state.age = std::chrono::milliseconds(400);
  constexpr std::uint32_t LIMITS[] = {15, 30, 15, 15};
  constexpr std::uint32_t PRIORITIES[] = {1, 2, 3, 3};
  for (unsigned port = 0; port < POE_PORTS; port++) {
    state.settings[port].enabled = port != 3;
    state.settings[port].limitW = LIMITS[port];
    state.settings[port].priority = PRIORITIES[port];
  }
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
