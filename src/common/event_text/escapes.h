#pragma once

#include <string>
#include <string_view>

namespace qel::tools {

// Each escape is one pass over the bytes: no output is escaped twice.

// Backspace, form feed, newline, carriage return, tab, '"' and '\'. So that any value makes valid
// JSON, the other control bytes become \u00XX and each byte of an invalid UTF-8 sequence '?'.
std::string JsonEscape(std::string_view text);
// Newline, carriage return, '=' and '\' for the one-line shape.
std::string OneLineEscape(std::string_view text);
// Bell, backspace, tab, newline, vertical tab, form feed, carriage return.
std::string ControlEscape(std::string_view text);

// The length of the UTF-8 sequence at the start of `text`, or 0 when it is not a valid one.
size_t Utf8SequenceLength(std::string_view text) noexcept;

}  // namespace qel::tools
