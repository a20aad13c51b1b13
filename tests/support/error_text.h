// The text of the error that a call throws.
#pragma once

#include <string>

// "accepted" when the call throws no Error.
template <typename Error, typename Action>
std::string errorText(Action action) {
  try {
    action();
  } catch (const Error& error) {
    return error.what();
  }
  return "accepted";
}
