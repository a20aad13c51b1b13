// Where the control socket of the simulated card is. This is the only place that knows; ./run asks by
// "poectl card --print-socket".
#pragma once

#include <string>

// The socket's path is the first of these that is given:
// - `option`;
// - the environment variable POE_CARD_CONTROL, which poe_card sets for the command that it runs;
// - poe_card.socket in XDG_RUNTIME_DIR, if that is a directory of the user's own;
// - poe_card.socket in /tmp/poe_card-UID. Throws CardError when that directory exists and is not the user's
//   alone.
std::string cardControlPath(const std::string& option);

// The same for whoever is about to make the socket: makes the default's directory when it is missing, with
// mode 0700.
std::string newCardControlPath(const std::string& option);
