#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "qel/event.h"

namespace qel::tools {

// The shapes of an event's text.
enum EventTextFormat : uint32_t {
  kEventTextLines = 0,    // key=value lines
  kEventTextJson = 1,     // one JSON object
  kEventTextOneLine = 2,  // one line of blank-separated key=value pairs, '=' escaped
};

// Writes the record's header and its additional fields in `format` to `stream` as it goes. A
// field value that cannot be shown is written as "<CORRUPTED>"; only a record date that
// localtime_r cannot take throws (orv::SystemException). Any other format writes separators only.
void EventToText(const Event& record, uint32_t format, std::ostream& stream);

// The text of one value; std::invalid_argument "Unknown type in VariantToString" for a tag it
// does not know, the date exceptions for a date out of range.
std::string VariantToString(const Variant& value);

}  // namespace qel::tools
