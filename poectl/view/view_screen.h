// The terminal of the live view.
#pragma once

#include "poectl/view/view_drawing.h"
#include "poectl/view/view_keys.h"

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

class ScreenError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// Whether the terminal of standard output is known and can place its cursor.
bool terminalCanShowView();

// Takes over the terminal of standard input and output, and gives it back on destruction, while the process
// is stopped by Ctrl-Z too. There are no colours when the environment variable NO_COLOR is set and not empty.
// One at a time, one thread.
class ViewScreen {
public:
  // Throws ScreenError.
  ViewScreen();
  ViewScreen(const ViewScreen&) = delete;
  ViewScreen& operator=(const ViewScreen&) = delete;
  ~ViewScreen();

  // The size follows that of the terminal when nextKey() is called.
  ViewFormat format() const;
  void show(const Canvas& canvas);

  // Does not wait; nothing when no key that has a meaning was pressed.
  std::optional<KeyPress> nextKey();

  // For a thread that ends the process while the one of this object hangs: a function that leaves the view as
  // far as the terminal takes it at once. Its settings are not touched. May be called when this object is
  // gone.
  std::function<void()> abandonment() const;

private:
  std::string m_leave; // what makes the terminal leave the view
  bool m_unicode;
  bool m_colours = false;
};
