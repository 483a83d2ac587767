#include <string>

#include "invalid_certificate_handler.h"

namespace qel::tcp_traffic_interceptor {

// Placeholders until the page is built here.

result_t InvalidCertificateHandler::GetWebAlertStub(
    const ssl::InvalidCertificateWebAlertData& /*data*/, orv::types::string8_t& /*body*/) {
  return orv::errors::kNotImplemented;
}

result_t InvalidCertificateHandler::InsertCertificateInfo(const orv::types::string8_t& /*domain*/,
                                                          std::string& /*body*/) {
  return orv::errors::kNotImplemented;
}

result_t InvalidCertificateHandler::LocalizeHtmlTemplate(uint64_t /*uniqPid*/,
                                                         std::string& /*body*/) {
  return orv::errors::kNotImplemented;
}

}  // namespace qel::tcp_traffic_interceptor
