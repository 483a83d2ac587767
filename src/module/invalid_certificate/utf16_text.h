#pragma once

#include <string>
#include <string_view>

namespace qel::tcp_traffic_interceptor {

// UTF-16 units as UTF-8 for a trace line; an unpaired surrogate becomes U+FFFD.
std::string Utf16ToUtf8(std::u16string_view text);

}  // namespace qel::tcp_traffic_interceptor
