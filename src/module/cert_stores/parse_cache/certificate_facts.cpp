#include "cert_stores/parse_cache/certificate_facts.h"

#include <openssl/asn1.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <array>
#include <cstring>
#include <ctime>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/conversions/openssl_types.h"
#include "orv/exception.h"
#include "qel/tools/date_strings.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

// The trace's way of printing a name: one zeroed buffer of 1024 bytes, so a longer name is cut.
std::string OnelineName(const X509_NAME* name) {
  std::array<char, 1024> buffer{};
  X509_NAME_oneline(name, buffer.data(), static_cast<int>(buffer.size()));
  return buffer.data();
}

// The common name in a zeroed buffer of 256 bytes; OpenSSL cuts a longer one and keeps it
// terminated. -1 from OpenSSL means there is none.
std::optional<std::string> CommonName(const X509_NAME* name) {
  std::array<char, 256> buffer{};
  if (X509_NAME_get_text_by_NID(const_cast<X509_NAME*>(name), NID_commonName, buffer.data(),
                                static_cast<int>(buffer.size())) == -1) {
    return std::nullopt;
  }
  return std::string(buffer.data());
}

// notAfter as ticks since 1601, by calendar arithmetic of its own: no time zone, no timegm, and
// years the platform's time_t may not reach.
uint64_t ExpirationTicks(const X509* certificate) {
  std::tm time{};
  const ASN1_TIME* notAfter = X509_get0_notAfter(certificate);
  if (notAfter == nullptr || ASN1_TIME_to_tm(notAfter, &time) != 1 || time.tm_year < -299) {
    return 0;
  }
  const int64_t m = time.tm_mon + 1;
  const int64_t a = (14 - m) / 12;
  const int64_t y = time.tm_year + 6700 - a;
  const int64_t days = time.tm_mday + (153 * (m + 12 * a - 3) + 2) / 5 + 365 * y + y / 4 - y / 100 +
                       y / 400 - 2472633;
  const int64_t seconds = ((days * 24 + time.tm_hour) * 60 + time.tm_min) * 60 + time.tm_sec;
  return static_cast<uint64_t>(qel::tools::FromUnixTime(seconds, 0) +
                               qel::tools::kTicksFrom1601ToUnixEpoch);
}

// Only then is the PEM of the bytes what PEM_write_bio_X509 writes for the object.
bool ReencodesToSameBytes(const X509* certificate, const uint8_t* data, size_t size) {
  const int length = i2d_X509(certificate, nullptr);
  if (length <= 0 || static_cast<size_t>(length) != size) {
    return false;
  }
  RawCert again(size);
  uint8_t* cursor = again.data();
  return i2d_X509(certificate, &cursor) == length && std::memcmp(again.data(), data, size) == 0;
}

}  // namespace

CertificateFacts ReadCertificateFacts(const uint8_t* data, size_t size) {
  CertificateFacts facts;
  const X509Ptr certificate = ParseDer(data, size);
  if (!certificate) {
    return facts;
  }
  facts.parsed = true;
  facts.canonical = ReencodesToSameBytes(certificate.get(), data, size);
  facts.issuerHash = X509_issuer_name_hash(certificate.get());
  facts.subjectHash = X509_subject_name_hash(certificate.get());
  try {
    facts.issuerText = GetIssuerText(certificate.get());
  } catch (const orv::CheckFailedException&) {
    // An empty issuer prints nothing, which GetIssuerText refuses: the caller takes the plain way.
  }
  facts.subjectLine = OnelineName(X509_get_subject_name(certificate.get()));
  facts.issuerLine = OnelineName(X509_get_issuer_name(certificate.get()));
  facts.subjectCommonName = CommonName(X509_get_subject_name(certificate.get()));
  facts.issuerCommonName = CommonName(X509_get_issuer_name(certificate.get()));
  facts.expirationTicks = ExpirationTicks(certificate.get());
  return facts;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores
