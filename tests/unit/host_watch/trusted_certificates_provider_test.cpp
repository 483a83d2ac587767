#include "host/trusted_certificates_provider.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "cert_stores/conversions/cert_conversions.h"
#include "host/malloc_allocator.h"
#include "support/cert_factory.h"
#include "watch_fixture.h"

namespace tti::test {
namespace {

namespace conversions = qel::tcp_traffic_interceptor::cert_stores;
using host::MallocAllocator;
using host::TrustedCertificatesProvider;

// The issuer text the module asks with, for a root: its own subject.
orv::types::string8_t IssuerOf(const tti::test::TestCertificate& certificate) {
  return orv::types::string8_t(conversions::GetIssuerText(certificate.x509.get()).c_str());
}

// One file, a bundle of two, a link to the first file, garbage and a directory: each certificate
// is served once under its subject, nothing for another subject, and the vector's own allocator
// makes every buffer. Reload and the failure switch are driven by the certificate manager's
// events test.
TEST(TrustedCertificates, GetTrustedCertificates_ByIssuer) {
  const TempDir temporary;
  const std::string& directory = temporary.path();
  const auto first = tti::test::MakeRootCertificate("Trusted First");
  const auto second = tti::test::MakeRootCertificate("Trusted Second");
  const auto third = tti::test::MakeRootCertificate("Trusted Third");
  WriteFile(directory + "/first.pem", first.Pem());
  WriteFile(directory + "/bundle.pem", second.Pem() + "junk between\n" + third.Pem());
  ASSERT_EQ(symlink("first.pem", (directory + "/link.pem").c_str()), 0);
  WriteFile(directory + "/garbage.pem", "-----BEGIN CERTIFICATE-----\nnot base64\n");
  WriteFile(directory + "/empty.pem", "");
  MakeDirectories(directory + "/sub.pem");
  auto provider = MakeObject<TrustedCertificatesProvider>(directory);
  EXPECT_EQ(provider->size(), 3u);

  auto allocator = MakeObject<MallocAllocator>();
  {
    orv::types::vector_t<qel::RawCert> found(allocator.get());
    found.emplace_back();  // appended to, not replaced
    ASSERT_EQ(provider->GetTrustedCertificates(IssuerOf(first), &found), 0);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(Bytes(found[1]), first.Der());
    EXPECT_EQ(found[1].get_allocator(), allocator.get());
    ASSERT_EQ(provider->GetTrustedCertificates(IssuerOf(third), &found), 0);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(Bytes(found[2]), third.Der());
    ASSERT_EQ(provider->GetTrustedCertificates(orv::types::string8_t("/CN=Not There"), &found), 0);
    EXPECT_EQ(found.size(), 3u);
    EXPECT_GT(allocator->allocations(), 0u);
  }
  EXPECT_EQ(allocator->outstanding(), 0);
  EXPECT_EQ(provider->lookups(), 3u);

  // No directory, or a missing one, serves nothing and answers 0 (one that cannot be listed fails).
  for (const auto& empty : {MakeObject<TrustedCertificatesProvider>(),
                            MakeObject<TrustedCertificatesProvider>(directory + "/missing")}) {
    orv::types::vector_t<qel::RawCert> none;
    EXPECT_EQ(empty->GetTrustedCertificates(IssuerOf(first), &none), 0);
    EXPECT_TRUE(none.empty());
  }
}

}  // namespace
}  // namespace tti::test
