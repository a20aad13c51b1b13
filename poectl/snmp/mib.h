// All objects, in the order of their identifiers.
#pragma once

#include "poectl/snmp/mib_object.h"

// The objects do not change; their values come from the look. For use from any thread.
class Mib {
public:
  Mib();

  struct Answer {
    const Oid* oid; // belongs to the Mib
    MibValue value;
  };

  // The object of this identifier, and the first one after it; nothing when there is none with a value.
  std::optional<Answer> get(const Oid& oid, const CardLook& look) const;
  std::optional<Answer> next(const Oid& oid, const CardLook& look) const;

private:
  MibObjects m_objects;
};
