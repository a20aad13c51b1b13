#include "simulator/bus/bus_faults.h"

#include "text/text.h"

bool BusFaults::fails(std::uint8_t address) {
  switch (m_kind) {
  case Kind::Dead:
    return true;
  case Kind::Next:
    if (--m_number == 0) {
      none();
    }
    return true;
  case Kind::Every:
    if (++m_made < m_number) {
      return false;
    }
    m_made = 0;
    return true;
  case Kind::Register:
    return address == m_number;
  case Kind::Late:
  case Kind::None:
    break;
  }
  return false;
}

std::string BusFaults::text() const {
  switch (m_kind) {
  case Kind::Dead:
    return "dead";
  case Kind::Next:
    return "fail " + std::to_string(m_number);
  case Kind::Every:
    return "every " + std::to_string(m_number);
  case Kind::Register:
    return "register " + text::hexadecimal(m_number);
  case Kind::Late:
    return "late " + std::to_string(m_number);
  case Kind::None:
    break;
  }
  return "ok";
}

void BusFaults::set(Kind kind, unsigned number) {
  m_kind = kind;
  m_number = number;
  m_made = 0;
}
