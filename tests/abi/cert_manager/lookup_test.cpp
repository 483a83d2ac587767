#include <string>
#include <vector>

#include "abi/cert_manager/cert_manager_fixture.h"

namespace cert_manager_test {
namespace {

using tti::test::RunInMountNamespace;
using tti::test::StoreLayout;

const std::vector<Account> kAlice = {{"alice", 1000, "/home/alice"}};

TEST_F(CertManagerTest, FindParentCertificates_ProviderThenCache_ResultsAndOutput) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, kAlice);
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Lookup Root");
    const tti::test::TestCertificate leaf = tti::test::MakeServerCertificate(root, "leaf");
    const tti::test::TestCertificate other = tti::test::MakeRootCertificate("Other Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    orv::intrusive_ptr<crypto::ITrustedCertificateProvider> provider;
    ASSERT_EQ(manager->QueryInterface(crypto::ITrustedCertificateProvider::kIid,
                                      reinterpret_cast<void**>(provider.Ref())),
              0);

    // Not DER: 0x80000046 and the output untouched, the provider not asked.
    orv::types::vector_t<orv::types::vector_t<unsigned char>> output;
    output.emplace_back().push_back(0x42);
    const unsigned char junk[] = {0x01, 0x02};
    EXPECT_EQ(provider->FindParentCertificates(nullptr, {junk, junk + 2}, output), 0x80000046);
    EXPECT_EQ(provider->FindParentCertificates(nullptr, {}, output), 0x80000046);
    ASSERT_EQ(output.size(), 1u);
    EXPECT_TRUE(trusted->Questions().empty());

    // Nothing anywhere: 1, the output emptied.
    const Der leafDer = leaf.Der();
    const const_blob_range_t leafBlob{leafDer.data(), leafDer.data() + leafDer.size()};
    EXPECT_EQ(provider->FindParentCertificates(nullptr, leafBlob, output), 1);
    EXPECT_EQ(output.size(), 0u);
    EXPECT_EQ(trusted->Questions(), std::vector<std::string>{"CN=Lookup Root,O=tti tests"});
    EXPECT_EQ(LineCount(800, "parent cert was not found"), 1u);
    EXPECT_EQ(LineCount(800,
                        "virtual result_t "
                        "qel::tcp_traffic_interceptor::CertificateManager::"
                        "FindParentCertificates(app_ctrl::IProcess*, const "
                        "const_blob_range_t&, orv::types::vector_t<orv::types::vector_t<"
                        "unsigned char> >&) const"),
              3u);

    // The provider's candidates come first, the cache's after them; duplicates stay.
    trusted->Add("CN=Lookup Root,O=tti tests", other.Der());
    trusted->Add("CN=Lookup Root,O=tti tests", root.Der());
    EXPECT_EQ(manager->Install(ToRaw(root.Der())), 0);
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), leafDer, parents), 0);
    EXPECT_EQ(parents, (std::vector<Der>{other.Der(), root.Der(), root.Der()}));

    // A provider that cannot answer: a check line, and the cache still answers.
    trusted->Fail(0x8000004b);
    tracer->Clear();
    EXPECT_EQ(FindParents(manager.get(), leafDer, parents), 0);
    EXPECT_EQ(parents, (std::vector<Der>{other.Der(), root.Der(), root.Der()}));
    ASSERT_EQ(tracer->Texts(300).size(), 1u);
    EXPECT_TRUE(HasLineEndingWith(300,
                                  "result = 0x8000004b (Unspecified error) Cannot get "
                                  "product trusted certificates"));
    EXPECT_TRUE(
        tracer->Contains("try to find parent for subject: /O=tti tests/CN=leaf, issuer: "
                         "/O=tti tests/CN=Lookup Root with hash "));
  });
}

}  // namespace
}  // namespace cert_manager_test
