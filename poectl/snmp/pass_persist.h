// The protocol between net-snmp's snmpd and a program of its directive pass_persist.
#pragma once

#include "poectl/snmp/mib.h"

#include <functional>
#include <string>
#include <string_view>

constexpr std::size_t MAX_PASS_LINE = 2048; // bytes; an identifier has at most 1408

// Answers the questions of snmpd. Whatever comes in, each question has one answer, so that the two never lose
// step: a line that is no question is answered by NONE. One thread.
class PassPersist {
public:
  // `look` says what is known when an object is asked for. It is called for each question and must not wait.
  explicit PassPersist(std::function<CardLook()> look);

  // Takes the next bytes of the input, lines cut anywhere. Returns the answers to the questions that they
  // complete. Of a line, at most MAX_PASS_LINE bytes are kept.
  std::string take(std::string_view bytes);

private:
  using Step = std::string (PassPersist::*)();

  // Each takes m_line and says what the next line is. Returns the answer, empty while the question goes on.
  std::string takeQuestion();
  std::string takeOidOfGet();
  std::string takeOidOfNext();
  std::string takeOidOfSet();
  std::string takeValueOfSet();

  std::string expect(Step step);
  std::string answer(std::optional<Mib::Answer> (Mib::*find)(const Oid&, const CardLook&) const);

  const std::function<CardLook()> m_look;
  std::string m_line;
  bool m_isTooLong = false; // m_line is only the first part
  Step m_step = &PassPersist::takeQuestion;
};
