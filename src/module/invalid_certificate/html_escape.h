#pragma once

#include <string>
#include <string_view>

namespace qel::tcp_traffic_interceptor {

// The page's only escaping: & " ' < > become &amp; &quot; &#x27; &lt; &gt;, ampersands first so
// that the others' ampersands stay as they are. '%' and '$' are left alone.
std::string EscapeHtml(std::string_view text);

}  // namespace qel::tcp_traffic_interceptor
