// What poectl reads from the service's console and from the simulated card, whatever it is: a number that is
// in the text, or a refusal; the live view draws whatever came.
#include "poectl/card/card_state.h"
#include "poectl/console/console_client.h"
#include "poectl/console/console_report.h"
#include "poectl/view/view_drawing.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

// A report or a refusal in one line.
template <typename Parse>
void expectReportOrRefusal(Parse parse) {
  try {
    parse();
  } catch (const ConsoleError& error) {
    EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
  }
}

// No byte of the text may reach the terminal as a control character.
void expectDrawing(const ViewState& state) {
  const Canvas canvas = drawView(state, {VIEW_ROWS, VIEW_COLUMNS, true});
  for (std::size_t row = 0; row < canvas.rows(); row++) {
    for (std::size_t column = 0; column < canvas.columns(); column++) {
      const char32_t character = canvas.at(row, column).character;
      EXPECT_TRUE(character >= U' ' && character != 0x7F && !(character >= 0x80 && character < 0xA0));
    }
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  PortDetails settings;
  expectReportOrRefusal([&] { parseInfo(text); });
  expectReportOrRefusal([&] { parseDevice(text); });
  expectReportOrRefusal([&] { EXPECT_LT(parseChannel(text, 0).detection, 8U); });
  expectReportOrRefusal([&] { addSettings(settings, parsePoePort(text, 0)); });
  ViewState state;
  state.snapshot.emplace();
  state.card = parseCardState(text);
  state.settings.fill(settings);
  state.note = text;
  expectDrawing(state);
  return 0;
}
