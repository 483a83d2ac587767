#pragma once

#include <string_view>
#include <vector>

#include "cert_stores/conversions/certificate.h"

namespace qel::cert_manager {

using tcp_traffic_interceptor::cert_stores::Certificate;

// The certificates of `--certlist`: pieces "name:PEM" joined by ";". A piece without exactly one
// ":" ends the list; one whose PEM holds no certificate is skipped. The DER bytes of the first
// "CERTIFICATE" block of each PEM are taken when they decode as a signed certificate.
// Reads with NSS's base64 and ASN.1 decoders, which need no initialised NSS: the list is read
// before any database is opened, and the helper loads no other crypto library.
std::vector<Certificate> ReadCertList(std::string_view text);

}  // namespace qel::cert_manager
