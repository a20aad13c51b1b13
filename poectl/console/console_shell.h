// The interactive console: line editing, a history that is kept for the user, and completion.
#pragma once

// Reads commands from the terminal until "quit", "exit" or the end of input. Returns the exit status.
int runConsoleShell();
