#pragma once

#include <cstdint>

namespace qel::enums {

// What the family knows of one enumeration `X::Type`: its index in the family, its name, and which
// of the two conversions it has. Each enumeration's header specialises it through QEL_ENUM_INFO.
template <class E>
struct EnumInfo;

}  // namespace qel::enums

// Expands one row of an enumeration's row list into an enumerator.
#define QEL_ENUM_ENUMERATOR(name, value) name = value,

#define QEL_ENUM_INFO(X, index, hasToString, hasFromString) \
  namespace qel::enums {                                    \
  template <>                                               \
  struct EnumInfo<::qel::X::Type> {                         \
    static constexpr uint32_t kIndex = index;               \
    static constexpr const char* kName = #X;                \
    static constexpr bool kHasToString = hasToString;       \
    static constexpr bool kHasFromString = hasFromString;   \
  };                                                        \
  }
