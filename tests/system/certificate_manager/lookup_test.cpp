#include <string>
#include <vector>

#include "crypto/trusted_certificate_provider.h"
#include "system/certificate_manager/cert_manager_fixture.h"

namespace cert_manager_test {
namespace {

// The host's trusted certificates provider serves the PEM files of `trustedFolder`.
TEST_F(CertManagerTest, FindParentCertificates_ProviderThenCache_ResultsAndOutput) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, {{"alice", 1000, "/home/alice"}});
    const TestCertificate root = tti::test::MakeRootCertificate("Lookup Root");
    const TestCertificate leaf = tti::test::MakeServerCertificate(root, "leaf");
    // Another root under the same name: only the provider has it.
    const TestCertificate twin = tti::test::MakeRootCertificate("Lookup Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    const auto provider = As<crypto::ITrustedCertificateProvider>(manager.get());

    // Not DER: 0x80000046 and the output untouched, the provider not asked.
    orv::types::vector_t<orv::types::vector_t<unsigned char>> output;
    output.emplace_back().push_back(0x42);
    const unsigned char junk[] = {0x01, 0x02};
    EXPECT_EQ(provider->FindParentCertificates(nullptr, {junk, junk + 2}, output), 0x80000046);
    EXPECT_EQ(provider->FindParentCertificates(nullptr, {}, output), 0x80000046);
    ASSERT_EQ(output.size(), 1u);
    EXPECT_EQ(services.trusted->lookups(), 0u);

    // Nothing anywhere: 1, the output emptied.
    const Der leafDer = leaf.Der();
    const const_blob_range_t leafBlob{leafDer.data(), leafDer.data() + leafDer.size()};
    EXPECT_EQ(provider->FindParentCertificates(nullptr, leafBlob, output), 1);
    EXPECT_EQ(output.size(), 0u);
    EXPECT_EQ(services.trusted->lookups(), 1u);
    EXPECT_EQ(LineCount(800, "parent cert was not found"), 1u);
    EXPECT_EQ(LineCount(800,
                        "virtual result_t "
                        "qel::tcp_traffic_interceptor::CertificateManager::"
                        "FindParentCertificates(app_ctrl::IProcess*, const "
                        "const_blob_range_t&, orv::types::vector_t<orv::types::vector_t<"
                        "unsigned char> >&) const"),
              3u);

    // The provider's candidates (asked by the issuer's name) come first, the cache's after them;
    // duplicates stay.
    tti::test::WriteText(trustedFolder / "roots.pem", twin.Pem() + root.Pem());
    services.trusted->Reload();
    EXPECT_EQ(Install(manager.get(), root.Der()), 0);
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), leafDer, parents), 0);
    EXPECT_EQ(parents, (std::vector<Der>{twin.Der(), root.Der(), root.Der()}));

    // A provider that cannot answer: a check line, and the cache still answers.
    services.trusted->FailWith(0x8000004b);
    tracer->Clear();
    EXPECT_EQ(FindParents(manager.get(), leafDer, parents), 0);
    EXPECT_EQ(parents, std::vector<Der>{root.Der()});
    ASSERT_EQ(tracer->Texts(300).size(), 1u);
    EXPECT_TRUE(tracer->Contains(
        "result = 0x8000004b (Unspecified error) Cannot get product trusted certificates"));
    EXPECT_TRUE(
        tracer->Contains("try to find parent for subject: /O=tti tests/CN=leaf, issuer: "
                         "/O=tti tests/CN=Lookup Root with hash "));
  });
}

}  // namespace
}  // namespace cert_manager_test
