#pragma once

namespace qel::tcp_traffic_interceptor {

// Where the product installs the alert page template; read once when the handler is made.
constexpr const char* kHtmlTemplateDirectory = "/opt/morvane/tolm/shared/loc/neutral/templates/";
constexpr const char* kHtmlTemplateFileName = "invalid_certificate.html";

}  // namespace qel::tcp_traffic_interceptor
