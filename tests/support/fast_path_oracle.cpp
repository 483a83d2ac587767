#include "support/fast_path_oracle.h"

#include <openssl/objects.h>
#include <openssl/x509.h>

#include <array>
#include <boost/algorithm/string/replace.hpp>
#include <optional>
#include <vector>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/conversions/openssl_types.h"
#include "cert_stores/parse_cache/certificate_parse_cache.h"
#include "cert_stores/parse_cache/pem_from_der.h"
#include "orv/exception.h"

namespace tti::test {
namespace {

namespace stores = qel::tcp_traffic_interceptor::cert_stores;
namespace tci = qel::tcp_traffic_interceptor;

std::string Oneline(const X509_NAME* name) {
  std::array<char, 1024> buffer{};
  X509_NAME_oneline(name, buffer.data(), static_cast<int>(buffer.size()));
  return buffer.data();
}

std::optional<std::string> CommonName(X509_NAME* name) {
  std::array<char, 256> buffer{};
  if (X509_NAME_get_text_by_NID(name, NID_commonName, buffer.data(), 256) == -1) {
    return std::nullopt;
  }
  return std::string(buffer.data());
}

std::optional<std::string> IssuerText(const X509* certificate) {
  try {
    return stores::GetIssuerText(certificate);
  } catch (const orv::CheckFailedException&) {
    return std::nullopt;
  }
}

std::string ComparePem(const uint8_t* data, size_t size) {
  std::vector<uint8_t> plain;
  const result_t plainResult = stores::RawToPem(stores::RawCert(data, data + size), plain);
  std::string fast = "before";
  const result_t fastResult = stores::AppendCertificatePem(data, size, fast);
  if (plainResult != fastResult) {
    return "PEM result";
  }
  const std::string expected =
      "before" + (plainResult == 0 ? std::string(plain.begin(), plain.end()) : "");
  return fast == expected ? "" : "PEM text";
}

}  // namespace

std::string CompareCertificatePaths(const uint8_t* data, size_t size) {
  auto& cache = stores::CertificateParseCache::Shared();
  const auto first = cache.Get(data, size);
  const auto facts = cache.Get(data, size);
  const stores::X509Ptr x509 = stores::ParseDer(data, size);
  if (first->parsed != (x509 != nullptr) || facts->parsed != (x509 != nullptr)) {
    return "parsed";
  }
  if (std::string pem = ComparePem(data, size); !pem.empty()) {
    return pem;
  }
  if (!x509) {
    return "";
  }
  X509_NAME* subject = X509_get_subject_name(x509.get());
  X509_NAME* issuer = X509_get_issuer_name(x509.get());
  const std::pair<bool, const char*> checks[] = {
      {facts->issuerHash == X509_issuer_name_hash(x509.get()), "issuer hash"},
      {facts->issuerText == IssuerText(x509.get()), "issuer text"},
      {facts->subjectLine == Oneline(subject), "subject line"},
      {facts->issuerLine == Oneline(issuer), "issuer line"},
      {facts->subjectCommonName == CommonName(subject), "subject common name"},
      {facts->issuerCommonName == CommonName(issuer), "issuer common name"},
      {facts->expirationTicks == stores::ReadCertificateFacts(data, size).expirationTicks,
       "expiration"},
  };
  for (const auto& [agrees, what] : checks) {
    if (!agrees) {
      return what;
    }
  }
  return "";
}

std::string ComparePagePaths(const std::string& text, const tci::PageValues& values) {
  std::string plain = text;
  for (size_t slot = 0; slot < values.steps; ++slot) {
    boost::algorithm::replace_all(plain, tci::PageTemplate::Placeholder(slot), values.values[slot]);
  }
  std::string fast;
  tci::PageTemplate(text).Render(values, fast);
  return fast == plain ? "" : "page";
}

}  // namespace tti::test
