// Results in the form of the Test Anything Protocol.
#pragma once

#include <ostream>
#include <string>

// Writes to a stream, a line at a time, and counts. The stream must outlive it.
class Tap {
public:
  Tap(std::ostream& out, std::size_t tests);

  // The result of the next test; the description is one line.
  void result(bool ok, const std::string& description);

  // Every line of a text as a comment.
  void comment(const std::string& text);

  // The rest of the tests cannot be made.
  void bailOut(const std::string& reason);

  bool allOk() const { return m_ok; }

private:
  void line(const std::string& text);

  std::ostream& m_out;
  std::size_t m_number = 0;
  bool m_ok = true;
};
