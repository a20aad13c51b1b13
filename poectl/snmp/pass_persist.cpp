#include "poectl/snmp/pass_persist.h"

#include <utility>

namespace {

constexpr char NONE[] = "NONE\n";

// The same for all: its objects never change.
const Mib& mib() {
  static const Mib MIB;
  return MIB;
}

} // namespace

PassPersist::PassPersist(std::function<CardLook()> look) : m_look(std::move(look)) {}

std::string PassPersist::take(std::string_view bytes) {
  std::string answers;
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    const std::string_view part = bytes.substr(0, end);
    const std::size_t room = MAX_PASS_LINE - m_line.size();
    m_line += part.substr(0, room);
    m_isTooLong = m_isTooLong || part.size() > room;
    if (end == std::string_view::npos) {
      break;
    }
    answers += (this->*m_step)();
    m_line.clear();
    m_isTooLong = false;
    bytes.remove_prefix(end + 1);
  }
  return answers;
}

std::string PassPersist::expect(Step step) {
  m_step = step;
  return {};
}

std::string PassPersist::takeQuestion() {
  if (m_line == "get") {
    return expect(&PassPersist::takeOidOfGet);
  }
  if (m_line == "getnext") {
    return expect(&PassPersist::takeOidOfNext);
  }
  if (m_line == "set") {
    return expect(&PassPersist::takeOidOfSet);
  }
  return m_line == "PING" ? "PONG\n" : NONE;
}

std::string PassPersist::takeOidOfGet() {
  return answer(&Mib::get);
}

std::string PassPersist::takeOidOfNext() {
  return answer(&Mib::next);
}

std::string PassPersist::takeOidOfSet() {
  return expect(&PassPersist::takeValueOfSet);
}

std::string PassPersist::takeValueOfSet() {
  m_step = &PassPersist::takeQuestion;
  return "not-writable\n";
}

std::string PassPersist::answer(std::optional<Mib::Answer> (Mib::*find)(const Oid&, const CardLook&) const) {
  m_step = &PassPersist::takeQuestion;
  const auto oid = m_isTooLong ? std::nullopt : oidFrom(m_line);
  const auto found = oid ? (mib().*find)(*oid, m_look()) : std::nullopt;
  return found ? oidText(*found->oid) + "\n" + found->value.type + "\n" + found->value.text + "\n" : NONE;
}
