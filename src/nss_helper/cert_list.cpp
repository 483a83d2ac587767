#include "cert_list.h"

#include <cert.h>
#include <nssb64.h>
#include <secasn1.h>

#include <string>

#include "cert_stores/nss/nss_types.h"

namespace qel::cert_manager {
namespace {

using tcp_traffic_interceptor::cert_stores::ArenaPtr;
using tcp_traffic_interceptor::cert_stores::ItemPtr;
using tcp_traffic_interceptor::cert_stores::RawCert;

constexpr std::string_view kBegin = "-----BEGIN CERTIFICATE-----";
constexpr std::string_view kEnd = "-----END CERTIFICATE-----";

// The whole item is one signed certificate, nothing before or after it.
bool IsCertificate(SECItem& der) {
  const ArenaPtr arena(PORT_NewArena(DER_DEFAULT_CHUNKSIZE));
  CERTCertificate decoded{};
  return arena &&
         SEC_QuickDERDecodeItem(arena.get(), &decoded, SEC_ASN1_GET(SEC_SignedCertificateTemplate),
                                &der) == SECSuccess;
}

// The DER of the first certificate block of a PEM text; empty when there is none.
RawCert PemToDer(std::string_view pem) {
  const size_t begin = pem.find(kBegin);
  if (begin == std::string_view::npos) {
    return {};
  }
  const size_t body = begin + kBegin.size();
  const size_t end = pem.find(kEnd, body);
  if (end == std::string_view::npos) {
    return {};
  }
  // The decoder passes over the line breaks of the body.
  const ItemPtr der(NSSBase64_DecodeBuffer(nullptr, nullptr, pem.data() + body,
                                           static_cast<unsigned int>(end - body)));
  if (!der || !IsCertificate(*der)) {
    return {};
  }
  return RawCert(der->data, der->data + der->len);
}

}  // namespace

std::vector<Certificate> ReadCertList(std::string_view text) {
  std::vector<Certificate> certificates;
  for (size_t start = 0;;) {
    const size_t stop = text.find(';', start);
    const std::string_view piece =
        text.substr(start, stop == std::string_view::npos ? std::string_view::npos : stop - start);
    const size_t colon = piece.find(':');
    if (colon == std::string_view::npos || piece.find(':', colon + 1) != std::string_view::npos) {
      break;
    }
    RawCert raw = PemToDer(piece.substr(colon + 1));
    if (!raw.empty()) {
      certificates.push_back(Certificate{std::string(piece.substr(0, colon)), std::move(raw)});
    }
    if (stop == std::string_view::npos) {
      break;
    }
    start = stop + 1;
  }
  return certificates;
}

}  // namespace qel::cert_manager
