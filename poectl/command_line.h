// The command line of poectl, understood by the table of commands.
#pragma once

#include "poectl/commands.h"

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

// A command line that is not understood. The text is one line.
class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// Where a command wants the values of its options and arguments. A place lives until the command has been
// carried out, and keeps its value when the user leaves the option out. The names are those of the command's
// rows in commands.def; std::logic_error for a name without a row.
class CommandSyntax {
public:
  // `words` are those that belong to another program.
  CommandSyntax(const Command& command, CLI::App& parser, std::vector<std::string> words);

  void flag(const char* name, bool& value);
  void text(const char* name, std::string& value);
  void texts(const char* name, std::vector<std::string>& values);
  void number(const char* name, std::optional<unsigned long>& value, unsigned long min, unsigned long max);
  void seconds(const char* name, double& value); // 0.1 to 1e9
  void exclude(const char* one, const char* other);

  // The argument FILE, which must be given.
  void file(std::string& value) { argument("FILE", value); }
  // The next argument, which must be given, and one that may be left out.
  void argument(const char* name, std::string& value);
  void optionalArgument(const char* name, std::optional<std::string>& value);

  // The arguments [WORD]...
  const std::vector<std::string>& words() const { return m_words; }

  // Says that the command itself reports when its output cannot be written.
  void reportWriteErrors() { m_reportsWriteErrors = true; }
  bool reportsWriteErrors() const { return m_reportsWriteErrors; }

  // Throws std::logic_error for a row without a place.
  void expectAllPlaced() const;

private:
  // Notes that the row has its place. Returns the name of its value.
  std::string place(const char* name);

  CLI::App& m_parser;
  const std::vector<std::string> m_words;
  std::map<std::string, std::string> m_unplaced; // the rows without a place: name and value
  bool m_reportsWriteErrors = false;
};

// Understands the words after "poectl" and carries the command out. Returns the exit status. Throws
// UsageError, and what the command throws.
int runCommandLine(const std::vector<std::string>& words);
