#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cert_stores/parse_cache/certificate_parse_cache.h"
#include "cert_stores/parse_cache/pem_from_der.h"
#include "certificate_decoding.h"
#include "invalid_certificate_handler.h"
#include "orv/check.h"
#include "orv/trace_stream.h"
#include "trace_texts.h"

namespace qel::tcp_traffic_interceptor {
namespace {

template <class T>
struct ReleaseObject {
  void operator()(T* object) const noexcept { object->Release(); }
};
template <class T>
using Owned = std::unique_ptr<T, ReleaseObject<T>>;

// A missing common name becomes the stand-in the page words by key.
orv::types::string8_t NameOrStandIn(const std::optional<std::string>& name) {
  return orv::types::string8_t(name ? std::string_view(*name) : kNotPartOfCertificate);
}

}  // namespace

result_t DecodeCertificate(const qel::RawCert& raw, UntrustedCertificate& untrusted,
                           orv::ITracer* tracer) {
  // Servers repeat their certificates: the parse is remembered per bytes.
  const auto facts = cert_stores::CertificateParseCache::Shared().Get(raw.data(), raw.size());
  if (!facts->parsed) {
    orv::TraceFailedCondition(tracer, __FILE__, __LINE__, handler_texts::kParsedCondition);
    return orv::errors::kInvalidArgument;
  }
  untrusted.subject = NameOrStandIn(facts->subjectCommonName);
  untrusted.issuer = NameOrStandIn(facts->issuerCommonName);
  untrusted.expirationDate = facts->expirationTicks;
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
          ORV_TRACE_IF_FAILED_AS(tracer, certificate->GetRaw(raw), handler_texts::kGetRawExpression)
          << handler_texts::kNoRawCertificate;
      ORV_FAILED(result)) {
    return result;
  }
  if (const result_t result =
          ORV_TRACE_IF_FAILED_AS(tracer, DecodeCertificate(raw, untrusted, tracer),
                                 handler_texts::kDecodeExpression)
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
            ORV_TRACE_IF_FAILED_AS(tracer, next->GetRaw(nextRaw), handler_texts::kGetRawExpression)
            << handler_texts::kNoRawCertificate;
        ORV_FAILED(result)) {
      return result;
    }
    if (const result_t result =
            ORV_TRACE_IF_FAILED_AS(
                tracer, cert_stores::AppendCertificatePem(nextRaw.data(), nextRaw.size(), pemChain),
                handler_texts::kConvertToPemExpression)
            << "Cannot convert raw to PEM format";
        ORV_FAILED(result)) {
      return result;
    }
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
