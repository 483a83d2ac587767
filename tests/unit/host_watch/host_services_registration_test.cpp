#include <gtest/gtest.h>

#include "host/host_services.h"
#include "support/cert_factory.h"
#include "watch_fixture.h"

namespace host::test {
namespace {

// Both services are in the locator; the trusted certificates come from the directory given.
TEST(HostServicesWatch, Create_RegistersFileEventsAndTrustedCertificates) {
  TemporaryDirectory temporary;
  WriteFile(temporary.path() + "/root.pem", tti::test::MakeRootCertificate("Host Root").Pem());
  HostServices services = HostServices::Create(nullptr, temporary.path());
  void* fileEvents = nullptr;
  ASSERT_EQ(services.locator->GetService(qel::IInotifyEventsProvider::kIid, 0, &fileEvents), 0);
  EXPECT_EQ(fileEvents, static_cast<qel::IInotifyEventsProvider*>(services.fileEvents.get()));
  static_cast<qel::IInotifyEventsProvider*>(fileEvents)->Release();
  void* trusted = nullptr;
  ASSERT_EQ(services.locator->GetService(qel::ITrustedCertificatesProvider::kIid, 0, &trusted), 0);
  static_cast<qel::ITrustedCertificatesProvider*>(trusted)->Release();
  EXPECT_EQ(services.trusted->size(), 1u);
  EXPECT_EQ(HostServices::Create(nullptr).trusted->size(), 0u);
}

}  // namespace
}  // namespace host::test
