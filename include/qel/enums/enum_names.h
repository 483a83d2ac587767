#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "qel/enums/enum_info.h"

namespace qel::enums {

// One row of an enumeration's table: the value as 32 bits (ContentCategory's -1 is 0xffffffff).
struct EnumRow {
  uint32_t value;
  const char* name;
};

// The two-way map of one enumeration, built from its table at first use and read-only afterwards.
class EnumLookup {
 public:
  EnumLookup() = default;
  EnumLookup(const char* name, const EnumRow* rows, size_t count);

  // The enumeration's name ("DangerLevel"); null for an index the family does not hold.
  const char* name() const noexcept { return m_name; }
  // The rows in table order.
  const EnumRow* rows() const noexcept { return m_rows; }
  size_t size() const noexcept { return m_count; }
  // The row's name, or null.
  const char* FindName(uint32_t value) const noexcept;
  // True and `value` set when `name` is a row's name; names match exactly, case included.
  bool FindValue(std::string_view name, uint32_t& value) const noexcept;

 private:
  const char* m_name = nullptr;
  const EnumRow* m_rows = nullptr;
  size_t m_count = 0;
  std::vector<const EnumRow*> m_byValue;
  std::vector<const EnumRow*> m_byName;
};

// The lookup at `index` of the family, or null when the family has none there.
const EnumLookup* FindEnumeration(uint32_t index) noexcept;
// One past the highest index of the family.
uint32_t FamilySize() noexcept;

// Value to name by family index; std::runtime_error "EnumToString, invalid 'X' enum value: N".
std::string ValueToName(uint32_t index, uint32_t value);
// Name to value by family index; std::runtime_error "There is no such 'X::Type' value: name".
uint32_t NameToValue(uint32_t index, std::string_view name);

// EnumToString<qel::DangerLevel::Type>(1) == "_deprecatedHigh".
template <class E>
std::string EnumToString(std::underlying_type_t<E> value) {
  static_assert(EnumInfo<E>::kHasToString, "this enumeration has no value-to-name conversion");
  return ValueToName(EnumInfo<E>::kIndex, static_cast<uint32_t>(value));
}

// StringToEnum<qel::DangerLevel::Type>("Warning") == qel::DangerLevel::Warning.
template <class E>
E StringToEnum(std::string_view name) {
  static_assert(EnumInfo<E>::kHasFromString, "this enumeration has no name-to-value conversion");
  return static_cast<E>(NameToValue(EnumInfo<E>::kIndex, name));
}

// Boolean differs: true for any non-zero row; "There is no such 'bool' value: name".
bool StringToBoolean(std::string_view name);
std::string BooleanToString(bool value);

}  // namespace qel::enums
