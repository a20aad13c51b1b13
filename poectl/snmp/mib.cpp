#include "poectl/snmp/mib.h"

#include <algorithm>
#include <iterator>

namespace {

struct Before {
  bool operator()(const MibObject& object, const Oid& oid) const { return object.oid < oid; }
  bool operator()(const Oid& oid, const MibObject& object) const { return oid < object.oid; }
};

} // namespace

Mib::Mib() : m_objects(powerEthernetObjects()) {
  MibObjects entities = entityObjects();
  std::move(entities.begin(), entities.end(), std::back_inserter(m_objects));
  std::sort(m_objects.begin(), m_objects.end(),
            [](const MibObject& one, const MibObject& other) { return one.oid < other.oid; });
}

std::optional<Mib::Answer> Mib::get(const Oid& oid, const CardLook& look) const {
  const auto object = std::lower_bound(m_objects.begin(), m_objects.end(), oid, Before());
  if (object == m_objects.end() || object->oid != oid) {
    return {};
  }
  auto value = object->read(look);
  return value ? std::optional(Answer{&object->oid, std::move(*value)}) : std::nullopt;
}

std::optional<Mib::Answer> Mib::next(const Oid& oid, const CardLook& look) const {
  for (auto object = std::upper_bound(m_objects.begin(), m_objects.end(), oid, Before());
       object != m_objects.end(); ++object) {
    if (auto value = object->read(look)) {
      return Answer{&object->oid, std::move(*value)};
    }
  }
  return {};
}
