#include "poectl/view/view_keys.h"

#include "text/text.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::size_t SCROLL_STEP = 5; // events
constexpr std::size_t MAX_PROMPT = 70;
constexpr double MAX_WATTS = 100;
constexpr char LIVE_KEYS[] = "erpu+-sfontbc:"; // all but e and r are for the simulated card
constexpr char NO_KEY[] = "this key does nothing; ? lists those that do";

struct PluggedDevice {
  const char* words;
  double watts;
};

constexpr PluggedDevice DEVICES[] = {
    {"class=2 watts=6", 6},   {"class=4 watts=22", 22}, {"class=0 watts=10", 10},
    {"class=3 watts=12", 12}, {"class=1 watts=3", 3},   {"class=4 watts=22 signature=low", 22},
};

struct ReplayKeyRow {
  KeyPress::Kind kind;
  char character;
  ReplayKey effect;
};

constexpr ReplayKeyRow REPLAY_KEYS[] = {
    {KeyPress::Kind::CHARACTER, ' ', ReplayKey::PAUSE},
    {KeyPress::Kind::CHARACTER, '+', ReplayKey::FASTER},
    {KeyPress::Kind::CHARACTER, '-', ReplayKey::SLOWER},
    {KeyPress::Kind::CHARACTER, ',', ReplayKey::PREVIOUS},
    {KeyPress::Kind::CHARACTER, '.', ReplayKey::NEXT},
    {KeyPress::Kind::CHARACTER, '<', ReplayKey::FAR_BACK},
    {KeyPress::Kind::CHARACTER, '>', ReplayKey::FAR_FORWARD},
    {KeyPress::Kind::LEFT, 0, ReplayKey::BACK},
    {KeyPress::Kind::RIGHT, 0, ReplayKey::FORWARD},
    {KeyPress::Kind::HOME, 0, ReplayKey::FIRST},
    {KeyPress::Kind::END, 0, ReplayKey::LAST},
};

ReplayKey replayKey(const KeyPress& key) {
  for (const ReplayKeyRow& row : REPLAY_KEYS) {
    if (row.kind == key.kind && row.character == key.character) {
      return row.effect;
    }
  }
  return ReplayKey::NONE;
}

constexpr unsigned DEVICE_COUNT = std::size(DEVICES);

// The line of a command that the person is typing.
KeyEffect editPrompt(const KeyPress& key, ViewState& state) {
  KeyEffect effect;
  switch (key.kind) {
  case KeyPress::Kind::CHARACTER:
    if (state.prompt->size() < MAX_PROMPT) {
      *state.prompt += key.character;
    }
    break;
  case KeyPress::Kind::ERASE:
    if (!state.prompt->empty()) {
      state.prompt->pop_back();
    }
    break;
  case KeyPress::Kind::ENTER:
    effect.cardCommand = *state.prompt;
    state.prompt.reset();
    break;
  case KeyPress::Kind::ESCAPE:
    state.prompt.reset();
    break;
  default:
    break;
  }
  return effect;
}

void scroll(ViewState& state, bool back) {
  if (back) {
    state.scrolledBack += SCROLL_STEP;
  } else {
    state.scrolledBack -= std::min(state.scrolledBack, SCROLL_STEP);
  }
}

// The draw is kept at once: the next key may come before the card tells it.
std::string draw(CardState& card, unsigned port, double change) {
  double& watts = card.port[port].watts;
  watts = std::clamp(watts + change, 0.0, MAX_WATTS);
  return text::formatted("draw %u %g", port, watts);
}

std::string onPort(const char* command, unsigned port) {
  return command + (" " + std::to_string(port));
}

} // namespace

KeyEffect ViewKeys::press(const KeyPress& key, ViewState& state) {
  if (state.prompt) {
    return editPrompt(key, state);
  }
  KeyEffect effect;
  effect.replay = state.replay ? replayKey(key) : ReplayKey::NONE;
  if (effect.replay != ReplayKey::NONE) {
    state.note.clear();
    return effect;
  }
  switch (key.kind) {
  case KeyPress::Kind::UP:
    state.port = (state.port + POE_PORTS - 1) % POE_PORTS;
    return {};
  case KeyPress::Kind::DOWN:
    state.port = (state.port + 1) % POE_PORTS;
    return {};
  case KeyPress::Kind::PAGE_UP:
  case KeyPress::Kind::PAGE_DOWN:
    scroll(state, key.kind == KeyPress::Kind::PAGE_UP);
    return {};
  case KeyPress::Kind::ENTER:
    state.portPage = !state.portPage;
    return {};
  case KeyPress::Kind::ESCAPE:
    (state.help ? state.help : state.portPage) = false;
    return {};
  case KeyPress::Kind::CHARACTER:
    return command(key.character, state);
  default:
    return {};
  }
}

KeyEffect ViewKeys::command(char key, ViewState& state) {
  KeyEffect effect;
  if (key == 'q') {
    effect.quit = true;
  } else if (key == '?') {
    state.help = !state.help;
  } else if (key >= '0' && key < static_cast<char>('0' + POE_PORTS)) {
    state.port = static_cast<unsigned>(key - '0');
  } else if (state.replay || std::string(LIVE_KEYS).find(key) == std::string::npos) {
    state.note = NO_KEY;
  } else if (key == 'e') {
    effect.sendExample = true;
    state.note = "the example configuration is sent";
  } else if (key == 'r' && !state.mayUseBus) {
    state.note = "r makes 10 transfers, and --no-bus was given";
  } else if (key == 'r') {
    effect.readSettings = true;
    state.note =
        text::formatted("port %u: its limit and priority are being read over the chip's bus", state.port);
  } else if (!state.card) {
    state.note = "no simulated card answers; this key is for one";
  } else {
    effect.cardCommand = cardCommand(key, state);
  }
  return effect;
}

std::string ViewKeys::cardCommand(char key, ViewState& state) {
  switch (key) {
  case 'p':
    return plug(*state.card, state.port);
  case 'u':
    return onPort("unplug", state.port);
  case '+':
    return draw(*state.card, state.port, 1);
  case '-':
    return draw(*state.card, state.port, -1);
  case 's':
    return onPort("short", state.port);
  case 'f':
    return onPort("fault", state.port) + " fet";
  case 'o':
    return onPort("fault", state.port) + " overtemperature";
  case 'n':
    return onPort("fault", state.port) + " none";
  case 't':
    state.card->thermal = !state.card->thermal;
    return state.card->thermal ? "thermal on" : "thermal off";
  case 'b':
    state.card->busOk = !state.card->busOk;
    return state.card->busOk ? "bus ok" : "bus dead";
  case 'c':
    return "power-cycle";
  default: // ':'
    state.prompt = "";
    return "";
  }
}

std::string ViewKeys::plug(CardState& card, unsigned port) {
  const PluggedDevice& device = DEVICES[m_nextDevice[port]];
  m_nextDevice[port] = (m_nextDevice[port] + 1) % DEVICE_COUNT;
  card.port[port].watts = device.watts;
  return onPort("plug", port) + " " + device.words;
}
