// One command line of the debug console: finds the object that it is for and has it answer.
#pragma once

#include <string>
#include <vector>

namespace Zorvan {

class ConsoleCommand {
public:
  // Splits `line` into words at blanks and tabs.
  explicit ConsoleCommand(std::string line);
  ConsoleCommand(const ConsoleCommand&) = delete;
  ConsoleCommand& operator=(const ConsoleCommand&) = delete;

  bool isEmpty() const { return m_words.empty(); }

  // True for the line that ends the conversation.
  bool isQuit() const { return m_name == "quit"; }

  // Carries out a command that is not empty and returns the reply. `buffer` is the one that the object's
  // handler is given; what is in it before and after does not matter.
  std::string run(std::vector<char>& buffer) const;

private:
  bool callObject(std::vector<char>& buffer, std::string* reply) const;
  std::string listObjects() const;

  std::string m_line; // cut into words by NULs
  std::vector<const char*> m_words;
  std::string m_name; // the first word
};

} // namespace Zorvan
