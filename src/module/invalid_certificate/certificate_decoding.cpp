#include <openssl/asn1.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/conversions/openssl_types.h"
#include "certificate_decoding.h"
#include "invalid_certificate_handler.h"
#include "orv/check.h"
#include "orv/trace_stream.h"
#include "qel/tools/date_strings.h"
#include "trace_as.h"

namespace qel::tcp_traffic_interceptor {
namespace {

using cert_stores::X509Ptr;

template <class T>
struct ReleaseObject {
  void operator()(T* object) const noexcept { object->Release(); }
};
template <class T>
using Owned = std::unique_ptr<T, ReleaseObject<T>>;

// The common name of `name`, or the stand-in when it has none. OpenSSL cuts a longer name to the
// buffer, which stays terminated.
orv::types::string8_t CommonName(X509_NAME* name) {
  std::array<char, 256> buffer{};
  if (X509_NAME_get_text_by_NID(name, NID_commonName, buffer.data(),
                                static_cast<int>(buffer.size())) == -1) {
    return orv::types::string8_t(kNotPartOfCertificate);
  }
  return orv::types::string8_t(buffer.data());
}

// notAfter as ticks since 1601, by calendar arithmetic of its own: no time zone, no timegm, and
// years the platform's time_t may not reach. 0 when it cannot be read or lies before 1601.
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
  return static_cast<uint64_t>(tools::FromUnixTime(seconds, 0) + tools::kTicksFrom1601ToUnixEpoch);
}

}  // namespace

result_t DecodeCertificate(const qel::RawCert& raw, UntrustedCertificate& untrusted,
                           orv::ITracer* tracer) {
  const unsigned char* cursor = raw.data();
  const X509Ptr x509(d2i_X509(nullptr, &cursor, static_cast<long>(raw.size())));
  if (!x509) {
    TraceFailedCondition(tracer, __FILE__, __LINE__, "x509");
    return orv::errors::kInvalidArgument;
  }
  untrusted.subject = CommonName(X509_get_subject_name(x509.get()));
  untrusted.issuer = CommonName(X509_get_issuer_name(x509.get()));
  untrusted.expirationDate = ExpirationTicks(x509.get());
  return orv::errors::kOk;
}

result_t ReadConnectionCertificate(ssl::IConnectionInfo* sslConnectionInfo,
                                   UntrustedCertificate& cert, orv::ITracer* tracer) {
  UntrustedCertificate untrusted;
  ORV_CHECK_RESULT(sslConnectionInfo->GetVerificationResult(untrusted.verificationResult));

  ssl::ICertificate* serverSlot = nullptr;
  ORV_CHECK_RESULT(sslConnectionInfo->GetServerCertificate(&serverSlot));
  const Owned<ssl::ICertificate> certificate(serverSlot);
  qel::RawCert raw;
  if (const result_t result =
          QEL_TRACE_AS(tracer, certificate->GetRaw(raw), "certificate->GetRaw(raw)")
          << "Cannot get raw certififcate";
      ORV_FAILED(result)) {
    return result;
  }
  if (const result_t result = QEL_TRACE_AS(tracer, DecodeCertificate(raw, untrusted, tracer),
                                           "GetCertificate(raw, untrusted)")
                              << "Cannot get cert from raw";
      ORV_FAILED(result)) {
    return result;
  }

  ssl::ICertificateEnumerator* chainSlot = nullptr;
  ORV_CHECK_RESULT(sslConnectionInfo->GetCertificateChain(&chainSlot));
  const Owned<ssl::ICertificateEnumerator> chain(chainSlot);
  std::string pemChain;
  // Any result but 0 ends the walk, a failure included: the chain is whatever came before it.
  for (ssl::ICertificate* nextSlot = nullptr; chain->Next(&nextSlot) == orv::errors::kOk;
       nextSlot = nullptr) {
    const Owned<ssl::ICertificate> next(nextSlot);
    qel::RawCert nextRaw;
    if (const result_t result =
            QEL_TRACE_AS(tracer, next->GetRaw(nextRaw), "certificate->GetRaw(raw)")
            << "Cannot get raw certififcate";
        ORV_FAILED(result)) {
      return result;
    }
    std::vector<uint8_t> data;
    const cert_stores::RawCert der(nextRaw.begin(), nextRaw.end());
    if (const result_t result =
            QEL_TRACE_AS(tracer, cert_stores::RawToPem(der, data), "ConvertToPEM(raw, data)")
            << "Cannot convert raw to PEM format";
        ORV_FAILED(result)) {
      return result;
    }
    pemChain.append(data.begin(), data.end());
  }
  untrusted.pemChain = orv::types::string8_t(pemChain);
  cert = std::move(untrusted);
  return orv::errors::kOk;
}

result_t InvalidCertificateHandler::GetCertificate(const qel::RawCert& raw,
                                                   UntrustedCertificate& untrusted) const {
  return DecodeCertificate(raw, untrusted, GetTracer());
}

result_t InvalidCertificateHandler::GetCertificate(ssl::IConnectionInfo* sslConnectionInfo,
                                                   UntrustedCertificate& cert) const {
  return ReadConnectionCertificate(sslConnectionInfo, cert, GetTracer());
}

}  // namespace qel::tcp_traffic_interceptor
