#include "poectl/snmp/oid.h"

#include "text/number.h"

std::optional<Oid> oidFrom(std::string_view text) {
  Oid oid;
  if (text.substr(0, 1) == ".") {
    text.remove_prefix(1);
  }
  for (bool isLast = false; !isLast;) {
    const std::size_t dot = text.find('.');
    const auto number = text::numberFrom<std::uint32_t>(text.substr(0, dot));
    if (!number || oid.size() == MAX_OID_NUMBERS) {
      return {};
    }
    oid.push_back(*number);
    isLast = dot == std::string_view::npos;
    text.remove_prefix(isLast ? text.size() : dot + 1);
  }
  return oid;
}

std::string oidText(const Oid& oid) {
  std::string text;
  for (const std::uint32_t number : oid) {
    text += '.';
    text += std::to_string(number);
  }
  return text;
}

Oid oidBelow(Oid oid, std::initializer_list<std::uint32_t> numbers) {
  oid.insert(oid.end(), numbers);
  return oid;
}
