// Object identifiers of SNMP.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The numbers of an identifier; operator< is the order of SNMP: number by number, a prefix first.
using Oid = std::vector<std::uint32_t>;

constexpr std::size_t MAX_OID_NUMBERS = 128; // of any identifier, by the SMI

// The identifier of a text such as ".1.3.6.1.2.1.105"; the first dot may be missing. Nothing for a text that
// is none, or has more than MAX_OID_NUMBERS numbers or one above 4294967295.
std::optional<Oid> oidFrom(std::string_view text);

// Such a text, with the first dot.
std::string oidText(const Oid& oid);

// An identifier and further numbers.
Oid oidBelow(Oid oid, std::initializer_list<std::uint32_t> numbers);
