// The runtime trust settings on the fixed system paths of each layout, in a private mount
// namespace: both files point the runtimes at that layout's system bundle, and a layout without
// one gets no file.
#include <unistd.h>

#include <gtest/gtest.h>

#include "cert_stores/runtime/runtime_settings.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

using tti::test::BuildStoreLayout;
using tti::test::RunInMountNamespace;
using tti::test::StoreLayout;

TEST(RuntimeSettingsSystemTest, Layouts_FilesPointAtTheLayoutsBundle) {
  const std::vector<Certificate> root{
      {"root", tti::test::MakeRootCertificate("Layout Root").Der()}};
  for (const auto& [layout, expected] :
       {std::pair{StoreLayout::kDebian, "/etc/ssl/certs/ca-certificates.crt"},
        std::pair{StoreLayout::kFedora, "/etc/pki/tls/certs/ca-bundle.crt"}}) {
    RunInMountNamespace([&, layout = layout, expected = expected] {
      BuildStoreLayout(layout);
      NativePath bundle;
      ASSERT_EQ(RuntimeTrustSettings::FindSystemBundle(bundle), 0);
      EXPECT_EQ(bundle, expected);
      for (const RuntimeSettingsFile& file : RuntimeTrustSettings::Files()) {
        EXPECT_EQ(RuntimeTrustSettings().Write(file, bundle, root), 0) << file.path;
        EXPECT_TRUE(RuntimeTrustSettings::Holds(file, expected)) << file.path;
      }
      ASSERT_EQ(::unlink(expected), 0);
      if (layout == StoreLayout::kDebian) {
        NativePath none = "unchanged";
        EXPECT_EQ(RuntimeTrustSettings::FindSystemBundle(none), orv::MakeResult(0x80010102u));
        EXPECT_EQ(none, "unchanged");
      }
    });
  }
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores
