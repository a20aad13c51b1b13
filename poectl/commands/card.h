// The command "card": the simulated card for a person or a script.
#pragma once

#include <string>
#include <vector>

// Sends the words as one command and prints the reply; without words, sends each line of standard input until
// its end. `control` is the socket, or empty for the default. Returns the exit status. Throws CardError and
// CardRefusal; a refused line ends the input.
int card(const std::string& control, const std::vector<std::string>& words);

// Prints the path of the control socket, for whoever is about to make it: the default's directory is made
// when it is missing. Returns 0. Throws CardError.
int printCardSocket(const std::string& control);
