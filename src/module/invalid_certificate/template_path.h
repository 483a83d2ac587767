#pragma once

namespace qel::tcp_traffic_interceptor {

// The alert page template's name in its folder (product::kHtmlTemplateDirectory).
constexpr const char* kHtmlTemplateFileName = "invalid_certificate.html";

}  // namespace qel::tcp_traffic_interceptor
