// Where the control socket of the simulated card is. This is the only place that knows; ./run asks by
// "poectl card --print-socket".
#pragma once

#include <string>

// The socket: `option` unless it is empty, else the environment variable POE_CARD_CONTROL, which poe_card
// sets for the command that it runs, else the user's default: poe_card.socket in XDG_RUNTIME_DIR where that
// is a directory of the user's own, else in /tmp/poe_card-UID. Throws CardError when that directory exists
// and is not the user's alone.
std::string cardControlPath(const std::string& option);

// The same for whoever is about to make the socket: makes the default's directory when it is missing, with
// mode 0700.
std::string newCardControlPath(const std::string& option);
