#include "poectl/view/view_style.h"

Style stateStyle(std::uint32_t operStatus) {
  switch (operStatus) {
  case OperStatus::DELIVERINGPOWER:
    return {Colour::GREEN};
  case OperStatus::SEARCHING:
    return {Colour::YELLOW};
  case OperStatus::FAULT:
  case OperStatus::OTHERFAULT:
    return {Colour::RED, true};
  default:
    return FAINT;
  }
}

Style eventStyle(const StatusEvent& event) {
  switch (event.kind) {
  case EventKind::STATE:
    return stateStyle(event.to);
  case EventKind::COUNTER:
    return {Colour::YELLOW};
  case EventKind::CHIP_RECOVERED:
  case EventKind::THERMAL_SHUTDOWN_OVER:
  case EventKind::BUS_ERROR_OVER:
  case EventKind::RESUMED:
    return {Colour::GREEN};
  default:
    return {Colour::RED, true};
  }
}

void drawHeading(Canvas& canvas, std::size_t row, const std::string& text, const std::string& right,
                 bool unicode) {
  for (std::size_t column = 0; column < canvas.columns(); column++) {
    canvas.put(row, column, unicode ? U'─' : U'-', FAINT);
  }
  canvas.text(row, 2, " " + text + " ", BOLD);
  if (!right.empty()) {
    canvas.textAtRight(row, " " + right + " ");
  }
}
