#pragma once

#include <cstddef>
#include <cstdint>

#include "qel/enums/enum_names.h"

namespace qel::enums {

// One enumeration of the family: its index, name and table.
struct FamilyTable {
  uint32_t index;
  const char* name;
  const EnumRow* rows;
  size_t count;
};

// Every table of the family, constant from load to exit.
const FamilyTable* FamilyTables(size_t& count) noexcept;

}  // namespace qel::enums
