// The per-connection fast paths (remembered parses, PEM without a parse, the page in one pass)
// give what the plain ways give: over the distribution's CA set, certificates made here, blobs
// mutated from both, and pages that tempt a one-pass writer into a different result.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "cert_stores/conversions/cert_conversions.h"
#include "support/cert_factory.h"
#include "support/fast_path_oracle.h"
#include "support/scratch.h"

namespace {

namespace tci = qel::tcp_traffic_interceptor;
using Blob = std::vector<uint8_t>;

// Every way a server's bytes could trip the fast paths: cut, trailed, flipped, or re-encoded with
// a long-form outer length that d2i_X509 takes and i2d_X509 does not give back.
std::vector<Blob> Mutations(const Blob& der) {
  std::vector<Blob> blobs{der, Blob(der.begin(), der.end() - 1),
                          Blob(der.begin(), der.begin() + std::min<size_t>(4, der.size()))};
  blobs.push_back(der);
  blobs.back().push_back(0);
  for (const size_t at : {size_t{1}, size_t{7}, der.size() / 3, der.size() / 2, der.size() - 3}) {
    if (at < der.size()) {
      blobs.push_back(der);
      blobs.back()[at] ^= 0x41;
    }
  }
  if (der.size() > 4 && der[1] == 0x82) {
    Blob longForm{0x30, 0x83, 0x00};
    longForm.insert(longForm.end(), der.begin() + 2, der.end());
    blobs.push_back(longForm);
  }
  return blobs;
}

void ExpectAgreement(const Blob& der, const std::string& what) {
  for (const Blob& blob : Mutations(der)) {
    EXPECT_EQ("", tti::test::CompareCertificatePaths(blob.data(), blob.size())) << what;
  }
}

TEST(FastPaths, DistributionCaSet_AgreesWithPlainOpenSsl) {
  size_t compared = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/etc/ssl/certs")) {
    if (entry.path().extension() != ".pem") {
      continue;
    }
    tci::cert_stores::RawCert der;
    if (tci::cert_stores::PemToRaw(tti::test::ReadText(entry.path()), der) == 0) {
      ExpectAgreement(der, entry.path());
      ++compared;
    }
  }
  EXPECT_GT(compared, 50u);
}

TEST(FastPaths, TestChains_AgreeWithPlainOpenSsl) {
  const auto root = tti::test::MakeRootCertificate("Differential Root");
  const auto intermediate = tti::test::MakeServerCertificate(root, "Differential Intermediate");
  const auto server = tti::test::MakeServerCertificate(intermediate, "");
  // An empty issuer, for which the RFC 2253 text cannot be made and the lookup keeps its throw.
  const tci::cert_stores::X509Ptr orphan(X509_dup(server.x509.get()));
  X509_set_issuer_name(orphan.get(), tci::cert_stores::X509NamePtr(X509_NAME_new()).get());
  X509_sign(orphan.get(), root.key.get(), EVP_sha256());
  tci::cert_stores::RawCert orphanDer;
  ASSERT_EQ(0, tci::cert_stores::X509ToRaw(orphan.get(), orphanDer));
  for (const Blob& der : {root.Der(), intermediate.Der(), server.Der(), orphanDer, Blob{}}) {
    ExpectAgreement(der.empty() ? Blob{0x30, 0x00, 0x00} : der, "test chain");
  }
}

struct PageCase {
  const char* name;
  std::string text;
  std::vector<std::string> values;  // slot by slot; fewer means the rest stay as placeholders
};

tci::PageValues Values(const std::vector<std::string>& values) {
  tci::PageValues page;
  page.steps = values.size();
  std::copy(values.begin(), values.end(), page.values.begin());
  return page;
}

TEST(FastPaths, Pages_AgreeWithReplacementsInTurn) {
  const std::string product =
      tti::test::ReadText(std::string(TTI_SOURCE_DIR) + "/data/templates/invalid_certificate.html");
  EXPECT_TRUE(tci::PageTemplate(product).OnePass()) << "the product's page lost its one pass";
  const std::vector<std::string> all({"P", "$ActionWarn$", "$DetailsTitleWarn$", "a.example",
                                      "https://s", "https://c", "$R$", "S &amp;", "I",
                                      "2030-01-01 00:00:00", "-----BEGIN"});
  std::vector<std::string> withLaterPlaceholder = all;
  withLaterPlaceholder[3] = "%CertificateSubject%";
  std::vector<std::string> lettersOnly = all;
  lettersOnly[3] = "ShowCertificateUrl";
  const PageCase cases[] = {
      {"product page", product, all},
      {"product page, no certificate", product, {all.begin(), all.begin() + 7}},
      {"a value holding a later placeholder", product, withLaterPlaceholder},
      {"overlapping placeholders", "%CertAction%PRODUCT% %TargetUrl%", all},
      {"adjacent slots", "<%TargetUrl%%ShowCertificateUrl%>", all},
      {"a value joining two percent signs", "%CertificateSubject%TargetUrl%", lettersOnly},
      {"a value completing a placeholder",
       "<%Show%TargetUrl%Url%>",
       {"", "", "", "Certificate", "X"}},
  };
  for (const PageCase& page : cases) {
    EXPECT_EQ("", tti::test::ComparePagePaths(page.text, Values(page.values))) << page.name;
  }
}

}  // namespace
