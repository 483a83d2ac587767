#include "html_escape.h"

#include <boost/algorithm/string/replace.hpp>

namespace qel::tcp_traffic_interceptor {

std::string EscapeHtml(std::string_view text) {
  std::string escaped(text);
  boost::algorithm::replace_all(escaped, "&", "&amp;");
  boost::algorithm::replace_all(escaped, "\"", "&quot;");
  boost::algorithm::replace_all(escaped, "'", "&#x27;");
  boost::algorithm::replace_all(escaped, "<", "&lt;");
  boost::algorithm::replace_all(escaped, ">", "&gt;");
  return escaped;
}

}  // namespace qel::tcp_traffic_interceptor
