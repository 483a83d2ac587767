#pragma once

#include <string>
#include <string_view>

// Conversions between the Unicode encodings, written once for the framework and every library
// (they include this header from src/orv as a private include directory). Conversions through the
// C locale belong to the interception (text_conversions.h).
namespace orv {

// UTF-16 to UTF-8; an unpaired surrogate becomes U+FFFD.
std::string Utf16ToUtf8(std::u16string_view text);

// UTF-8 that a parser has already checked to UTF-16: the lead byte alone gives a sequence's length.
// A sequence cut short by the end throws std::runtime_error("cut UTF-8 sequence"), a code point
// above 0x10FFFF std::bad_cast.
std::u16string Utf8ToUtf16(std::string_view text);

// Appends the UTF-16 form of a UTF-32 text; a code point above 0x10FFFF throws std::bad_cast.
void AppendUtf32AsUtf16(std::u32string_view text, std::u16string& target);

// Each byte as one 16-bit unit of its own value, without decoding: how account names (ASCII or
// UTF-8 from the password database) are carried.
std::u16string WidenBytes(std::string_view text);

}  // namespace orv
