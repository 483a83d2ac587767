#include "html_escape.h"

namespace qel::tcp_traffic_interceptor {

// One pass: what a replacement brings in (&, ;, #, x, digits, letters) is none of the five, so
// replacing them one after another comes to the same as mapping each character once.
std::string EscapeHtml(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size() + text.size() / 8);
  for (const char character : text) {
    switch (character) {
      case '&':
        escaped.append("&amp;");
        break;
      case '"':
        escaped.append("&quot;");
        break;
      case '\'':
        escaped.append("&#x27;");
        break;
      case '<':
        escaped.append("&lt;");
        break;
      case '>':
        escaped.append("&gt;");
        break;
      default:
        escaped.push_back(character);
    }
  }
  return escaped;
}

}  // namespace qel::tcp_traffic_interceptor
