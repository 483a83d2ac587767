#pragma once

#include <string_view>

#include "orv/string.h"

namespace qel::tcp_traffic_interceptor::interception {

// Bytes of the current C locale to 16-bit units (mbrtowc): code points above 0xFFFF become
// surrogate pairs, a NUL byte one unit 0. Throws std::bad_cast for a sequence the locale rejects or
// a code point above 0x10FFFF.
orv::types::string16_t Widen(std::string_view text);

// 16-bit units back to bytes of the current C locale (wcrtomb); std::bad_cast when a unit or pair
// has no encoding there.
orv::types::string8_t Narrow(std::u16string_view text);

// `text` without white space at either end, as the classic locale classifies it.
orv::types::string16_t Trim(const orv::types::string16_t& text);

// Widening, then trimming: how exclusions and trusted addresses are stored.
inline orv::types::string16_t WidenTrimmed(std::string_view text) { return Trim(Widen(text)); }

}  // namespace qel::tcp_traffic_interceptor::interception
