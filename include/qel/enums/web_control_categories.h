#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_WebControlCategories(ROW) \
  ROW(None, 0)                                  \
  ROW(ContentOnly, 1)                           \
  ROW(FormatOnly, 2)                            \
  ROW(ContentAndFormat, 3)

namespace qel::WebControlCategories {
enum Type : uint32_t { QEL_ENUM_ROWS_WebControlCategories(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::WebControlCategories

QEL_ENUM_INFO(WebControlCategories, 72, true, true)
