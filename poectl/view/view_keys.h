// What the keys of the live view do.
#pragma once

#include "poectl/view/view_state.h"

#include <array>
#include <string>

struct KeyPress {
  enum class Kind { CHARACTER, UP, DOWN, LEFT, RIGHT, PAGE_UP, PAGE_DOWN, HOME, END, ENTER, ESCAPE, ERASE };
  Kind kind;
  char character = 0; // printable ASCII
};

// What a key asks of a record that is played.
enum class ReplayKey {
  NONE,
  PAUSE,
  FASTER,
  SLOWER,
  FIRST,
  LAST,
  PREVIOUS, // record
  NEXT,     // record
  BACK,     // 10 s, as FORWARD
  FORWARD,
  FAR_BACK, // 10 min, as FAR_FORWARD
  FAR_FORWARD,
};

// What a key asks for beyond the view itself.
struct KeyEffect {
  bool quit = false;
  bool sendExample = false;
  std::string cardCommand;   // for the card's control socket
  bool readSettings = false; // of the chosen port, by the report that uses the chip's bus
  ReplayKey replay = ReplayKey::NONE;
};

class ViewKeys {
public:
  // Changes what the view shows. Keys of the card do nothing but leave a note while there is no card. While a
  // record is played, the keys that change something else than the view are those of the play.
  KeyEffect press(const KeyPress& key, ViewState& state);

private:
  KeyEffect command(char key, ViewState& state);
  std::string cardCommand(char key, ViewState& state);
  std::string plug(CardState& card, unsigned port);

  std::array<unsigned, POE_PORTS> m_nextDevice{};
};
