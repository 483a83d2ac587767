#pragma once

#include <string>

#include "qel/event.h"

namespace qel::tools {

// The text of a field's value by the field's name: a 32-bit number or a decimal text of a field
// that has an enumeration gives the row's name; anything else VariantToString. Throws where the
// value cannot be shown.
std::string FieldValueText(uint32_t fieldName, const Variant& value);

}  // namespace qel::tools
