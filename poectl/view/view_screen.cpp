#include "poectl/view/view_screen.h"

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <langinfo.h>

// Functions, not macros: those have casts and names of their own.
#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>
#undef columns // a macro of term.h
#include <unistd.h>

namespace {

constexpr int ESCAPE_DELAY = 25; // ms: the rest of a key's sequence comes at once
constexpr int ESCAPE = 27;
constexpr int DELETE = 127;
constexpr int NO_BACKGROUND = -1;
constexpr short TERMINAL_COLOURS[] = {-1,         COLOR_RED,     COLOR_GREEN, COLOR_YELLOW,
                                      COLOR_BLUE, COLOR_MAGENTA, COLOR_CYAN}; // by Colour

bool wantsColours() {
  const char* const variable = std::getenv("NO_COLOR");
  return variable == nullptr || *variable == '\0';
}

attr_t attributes(const Style& style) {
  return (style.bold ? A_BOLD : A_NORMAL) | (style.dim ? A_DIM : A_NORMAL) |
         (style.reverse ? A_REVERSE : A_NORMAL);
}

} // namespace

bool terminalCanShowView() {
  int found = 0;
  if (setupterm(nullptr, STDOUT_FILENO, &found) != OK) {
    return false;
  }
  const char* const placeCursor = tigetstr("cup");
  const bool can = placeCursor != nullptr && std::strlen(placeCursor) > 0;
  del_curterm(cur_term);
  return can;
}

ViewScreen::ViewScreen() {
  std::setlocale(LC_CTYPE, "");
  m_unicode = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
  use_tioctl(TRUE); // the terminal knows its size better than LINES and COLUMNS
  if (newterm(nullptr, stdout, stdin) == nullptr) {
    throw ScreenError("the terminal cannot show a live view");
  }
  for (const char* const capability : {"rmcup", "cnorm", "sgr0"}) {
    const char* const sequence = tigetstr(capability);
    m_leave += sequence != nullptr && reinterpret_cast<std::intptr_t>(sequence) != -1 ? sequence : "";
  }
  cbreak();
  noecho();
  curs_set(0);
  set_escdelay(ESCAPE_DELAY);
  keypad(stdscr, TRUE);
  nodelay(stdscr, TRUE);
  if (wantsColours() && has_colors()) {
    m_colours = start_color() == OK;
    use_default_colors();
    for (std::size_t colour = 1; colour < std::size(TERMINAL_COLOURS); colour++) {
      init_pair(static_cast<short>(colour), TERMINAL_COLOURS[colour], NO_BACKGROUND);
    }
  }
}

ViewScreen::~ViewScreen() {
  endwin();
}

std::function<void()> ViewScreen::abandonment() const {
  return [leave = m_leave] {
    const int terminal = open("/dev/tty", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (write(terminal, leave.data(), leave.size()) < 0) {
      return; // nobody takes it, and the process is at its end
    }
  };
}

ViewFormat ViewScreen::format() const {
  return {static_cast<std::size_t>(getmaxy(stdscr)), static_cast<std::size_t>(getmaxx(stdscr)), m_unicode};
}

void ViewScreen::show(const Canvas& canvas) {
  erase();
  for (std::size_t row = 0; row < canvas.rows(); row++) {
    for (std::size_t column = 0; column < canvas.columns(); column++) {
      const Cell& cell = canvas.at(row, column);
      if (cell.character == U' ' && cell.style == Style{}) {
        continue; // erased
      }
      const wchar_t text[] = {static_cast<wchar_t>(cell.character), L'\0'};
      cchar_t character;
      setcchar(&character, text, attributes(cell.style),
               static_cast<short>(m_colours ? static_cast<int>(cell.style.colour) : 0), nullptr);
      mvadd_wch(static_cast<int>(row), static_cast<int>(column), &character);
    }
  }
  refresh();
}

std::optional<KeyPress> ViewScreen::nextKey() {
  for (int key = 0; (key = getch()) != ERR;) {
    switch (key) {
    case KEY_UP:
      return KeyPress{KeyPress::Kind::UP};
    case KEY_DOWN:
      return KeyPress{KeyPress::Kind::DOWN};
    case KEY_LEFT:
      return KeyPress{KeyPress::Kind::LEFT};
    case KEY_RIGHT:
      return KeyPress{KeyPress::Kind::RIGHT};
    case KEY_HOME:
      return KeyPress{KeyPress::Kind::HOME};
    case KEY_END:
      return KeyPress{KeyPress::Kind::END};
    case KEY_PPAGE:
      return KeyPress{KeyPress::Kind::PAGE_UP};
    case KEY_NPAGE:
      return KeyPress{KeyPress::Kind::PAGE_DOWN};
    case KEY_ENTER:
    case '\n':
    case '\r':
      return KeyPress{KeyPress::Kind::ENTER};
    case KEY_BACKSPACE:
    case '\b':
    case DELETE:
      return KeyPress{KeyPress::Kind::ERASE};
    case ESCAPE:
      return KeyPress{KeyPress::Kind::ESCAPE};
    default:
      if (key >= ' ' && key <= '~') {
        return KeyPress{KeyPress::Kind::CHARACTER, static_cast<char>(key)};
      }
    }
  }
  return std::nullopt;
}
