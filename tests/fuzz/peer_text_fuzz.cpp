// What poectl reads from the service's console and from the simulated card, whatever it is: a number that is
// in the text, or a refusal; the live view draws whatever came.
#include "poectl/card/card_state.h"
#include "poectl/console/audit_input.h"
#include "poectl/console/console_client.h"
#include "poectl/console/port_settings.h"
#include "poectl/view/view_drawing.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

// What follows the label, up to the end of its line.
void expectBankLimit(const std::string& text) {
  const std::string label = "power_limit (this bank) = ";
  try {
    const std::uint32_t limit = bankLimitFrom(text);
    const std::size_t start = text.find(label) + label.size();
    const std::string shown = text.substr(start, text.find('\n', start) - start);
    EXPECT_EQ(shown.find_first_not_of("0123456789"), std::string::npos) << shown;
    EXPECT_EQ(std::stoull(shown), limit);
  } catch (const ConsoleError& error) {
    EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
  }
}

void expectPortState(const std::string& text) {
  try {
    EXPECT_LT(portStateFrom(text).detection, 8U);
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
  expectBankLimit(text);
  expectPortState(text);
  ViewState state;
  state.status.emplace();
  state.card = parseCardState(text);
  state.settings.fill(parsePortSettings(text));
  state.note = text;
  expectDrawing(state);
  return 0;
}
