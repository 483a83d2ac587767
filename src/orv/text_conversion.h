#pragma once

#include <string>
#include <string_view>

namespace orv {

// UTF-16 to UTF-8; an unpaired surrogate becomes U+FFFD.
std::string Utf16ToUtf8(std::u16string_view text);

// Appends the UTF-16 form of a UTF-32 text; a code point above 0x10FFFF throws std::bad_cast.
void AppendUtf32AsUtf16(std::u32string_view text, std::u16string& target);

}  // namespace orv
