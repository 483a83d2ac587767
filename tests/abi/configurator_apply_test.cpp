// SetNetSettings through the real module: compare, then write only what differs.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "component/traffic_processing/protocollers/ssl/auto_excludes/auto_excludes.h"
#include "configurator_fixture.h"
#include "crypto/certificate_chain_verification_settings.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"

namespace {

namespace tti = qel::tcp_traffic_interceptor;
namespace tm = ::traffic_processing::traffic_monitor;
using ::tti::test::ConfiguratorTest;

qel::settings::EndpointExclude Exclude(const char* address, uint16_t port) {
  return qel::settings::EndpointExclude{orv::types::string8_t(address), port};
}

class ApplyTest : public ConfiguratorTest {
 protected:
  void SetUp() override {
    ConfiguratorTest::SetUp();
    reads = services.settings->reads();
    writes = services.settings->writes();
    flushes = services.settings->flushes();
  }
  uint64_t NewReads() const { return services.settings->reads() - reads; }
  uint64_t NewWrites() const { return services.settings->writes() - writes; }
  uint64_t NewFlushes() const { return services.settings->flushes() - flushes; }
  uint32_t EngineRevision() { return Revision<tm::pdkSettings>(tm::CLDIS_TcpInterceptor); }

  uint64_t reads = 0;
  uint64_t writes = 0;
  uint64_t flushes = 0;
};

TEST_F(ApplyTest, Set_WhatGetReturned_FourReadsNoWriteNoFlushWholeDetailLines) {
  qel::settings::NetSettings settings = Current();
  settings.sslExcludes.push_back(orv::types::string8_t("*.bank.example"));
  settings.endpointExcludes.push_back(Exclude("192.0.2.7", 443));
  settings.outgoingExcludes.push_back(Exclude("2001:db8::1", 53));
  ASSERT_EQ(configurator->SetNetSettings(settings), 0);

  const qel::settings::NetSettings again = Current();
  reads = services.settings->reads();
  writes = services.settings->writes();
  flushes = services.settings->flushes();
  tracer->Clear();
  EXPECT_EQ(configurator->SetNetSettings(again), 1);
  // Golden: the expected lines stay literal, an independent witness that the named fixed texts
  // hold the right bytes.
  EXPECT_EQ(tracer->Texts(800),
            (std::vector<std::string>{
                "virtual result_t qel::tcp_traffic_interceptor::TcpInterceptorConfigurator::"
                "SetNetSettings(const qel::settings::NetSettings&)",
                "SetTcpInterceptorSettings: ",
                "UpdateServiceSettingsSync() serviceKey=0xe750e572, sync=0",
                "operator():  updated settings are equal to previous",
                "UpdateServiceSettingsSync() <- 0x00000001 (False) ", "SetNetworkPortSettings: ",
                "UpdateServiceSettingsSync() serviceKey=0x39d30aa9, sync=0",
                "operator():  no changes", "UpdateServiceSettingsSync() <- 0x00000001 (False) ",
                "UpdateServiceSettingsSync() serviceKey=0xb10fd857, sync=0",
                "UpdateServiceSettingsSync() <- 0x00000001 (False) ",
                "UpdateServiceSettingsSync() serviceKey=0x4945314f, sync=1",
                "UpdateServiceSettingsSync() <- 0x00000001 (False) "}));
  EXPECT_EQ(NewReads(), 4u);
  EXPECT_EQ(NewWrites(), 0u);
  EXPECT_EQ(NewFlushes(), 0u);
}

TEST_F(ApplyTest, Set_OnlyUntrustedAction_WritesOnlyTheHandlerRecord) {
  qel::settings::NetSettings settings = Current();
  settings.UntrustedCertificateAction = qel::UntrustedCertificateAction::Block;
  const uint32_t engine = EngineRevision();
  const uint32_t handler =
      Revision<tti::InvalidCertificateHandlerSettings>(tti::CLSID_InvalidCertificateHandler);
  EXPECT_EQ(configurator->SetNetSettings(settings), 0);
  EXPECT_EQ(NewWrites(), 1u);
  EXPECT_EQ(NewFlushes(), 0u);  // only the verifier's step flushes
  EXPECT_EQ(EngineRevision(), engine);
  EXPECT_EQ(Revision<tti::InvalidCertificateHandlerSettings>(tti::CLSID_InvalidCertificateHandler),
            handler + 1);
  EXPECT_EQ(
      Stored<tti::InvalidCertificateHandlerSettings>(tti::CLSID_InvalidCertificateHandler).action,
      qel::UntrustedCertificateAction::Block);
}

TEST_F(ApplyTest, Set_Policy_WritesAndFlushesTheVerifierPair) {
  qel::settings::NetSettings settings = Current();
  settings.CertificateVerificationPolicy = qel::CertificateVerificationPolicy::LocalCheck;
  ASSERT_EQ(configurator->SetNetSettings(settings), 0);
  auto verifier =
      Stored<crypto::CertificateChainVerificationSettings>(crypto::CLSID_CertificateChainVerifier);
  EXPECT_EQ(std::tie(verifier.value1, verifier.value2, verifier.value3),
            std::make_tuple(6u, 2u, 60000u));
  EXPECT_EQ(NewFlushes(), 1u);
  // Any non-zero value is a full check.
  settings.CertificateVerificationPolicy = static_cast<qel::CertificateVerificationPolicy::Type>(5);
  ASSERT_EQ(configurator->SetNetSettings(settings), 0);
  verifier =
      Stored<crypto::CertificateChainVerificationSettings>(crypto::CLSID_CertificateChainVerifier);
  EXPECT_EQ(std::tie(verifier.value1, verifier.value2), std::make_tuple(7u, 7u));
}

TEST_F(ApplyTest, Set_ModeTwoStored_WrittenBackAsOne) {
  tm::pdkSettings engine;
  engine.ssl.mode = 2;
  services.settings->Seed(tm::CLDIS_TcpInterceptor, engine);
  EXPECT_EQ(configurator->SetNetSettings(Current()), 0);
  EXPECT_EQ(Stored<tm::pdkSettings>(tm::CLDIS_TcpInterceptor).ssl.mode, 1u);
}

TEST_F(ApplyTest, Set_ExcludesChange_ReplacesSectionKeepsOtherFields) {
  tm::pdkSettings engine;
  engine.number1 = 42;      // kept
  engine.ssl.number64 = 9;  // not compared, reset by the write
  engine.ports.push_back(tm::InterceptedPort{true, orv::types::string16_t(u"HTTP"), 80});
  services.settings->Seed(tm::CLDIS_TcpInterceptor, engine);
  qel::settings::NetSettings settings = Current();
  settings.ManageExclusions = true;
  settings.sslExcludes.push_back(orv::types::string8_t("  b.example "));
  settings.sslExcludes.push_back(orv::types::string8_t("a.example"));
  ASSERT_EQ(configurator->SetNetSettings(settings), 0);
  tm::pdkSettings stored = Stored<tm::pdkSettings>(tm::CLDIS_TcpInterceptor);
  EXPECT_EQ(stored.number1, 42u);
  EXPECT_EQ(stored.ports.size(), 1u);
  EXPECT_EQ(stored.ssl.number64, 0xfa000u);
  ASSERT_EQ(stored.ssl.excludes.size(), 2u);
  EXPECT_EQ(stored.ssl.excludes[0].mask.view(), u"b.example");
  EXPECT_TRUE(stored.ssl.excludes[0].enabled);

  // The same set in another order is a change.
  std::swap(settings.sslExcludes[0], settings.sslExcludes[1]);
  const uint32_t revision = EngineRevision();
  EXPECT_EQ(configurator->SetNetSettings(settings), 0);
  EXPECT_EQ(EngineRevision(), revision + 1);
}

TEST_F(ApplyTest, Set_Disconnect_ClearsAutomaticExclusionsOnEveryCall) {
  qel::settings::NetSettings settings = Current();
  settings.EncryptedConnectionsScanErrorAction =
      qel::EncryptedConnectionsScanErrorAction::Disconnect;
  EXPECT_EQ(configurator->SetNetSettings(settings), 0);
  EXPECT_EQ(configurator->SetNetSettings(settings), 1);
  EXPECT_EQ(services.autoExcludes->clears(), 2u);
  EXPECT_FALSE(Stored<tti::InvalidCertificateHandlerSettings>(tti::CLSID_InvalidCertificateHandler)
                   .addToAutoExcludes);
}

struct BadAddress {
  const char* address;
  bool outgoing;
  result_t expected;  // 0: any failure
};

class ApplyBadAddress : public ApplyTest, public ::testing::WithParamInterface<BadAddress> {};

TEST_P(ApplyBadAddress, Set_BadAddress_FailsWithoutExceptionAndWritesNothing) {
  qel::settings::NetSettings settings = Current();
  settings.UntrustedCertificateAction = qel::UntrustedCertificateAction::Block;  // a later step
  (GetParam().outgoing ? settings.outgoingExcludes : settings.endpointExcludes)
      .push_back(Exclude(GetParam().address, 80));
  const uint32_t revision = EngineRevision();
  result_t result = 0;
  EXPECT_NO_THROW(result = configurator->SetNetSettings(settings));
  if (GetParam().expected != 0) {
    EXPECT_EQ(result, GetParam().expected);
    EXPECT_TRUE(tracer->Contains(
        "operator():  failed to convert endpoint exclude settings to ip enpoint list"));
    EXPECT_TRUE(tracer->Contains("Cannot set TcpInterceptor settings"));
  } else {
    EXPECT_LT(result, 0);
    EXPECT_TRUE(tracer->Contains("Invalid format of ip address"));
  }
  EXPECT_EQ(NewWrites(), 0u);
  EXPECT_EQ(EngineRevision(), revision);
}

INSTANTIATE_TEST_SUITE_P(Table, ApplyBadAddress,
                         ::testing::Values(BadAddress{"256.0.0.1", false, 0},
                                           BadAddress{"192.0.2.1:80", true,
                                                      orv::MakeResult(0x8000004b)}));

TEST_F(ApplyTest, Set_OneListChanges_BothListsRewritten) {
  qel::settings::NetSettings settings = Current();
  settings.endpointExcludes.push_back(Exclude("[fe80::1%3]:8080", 22));
  settings.outgoingExcludes.push_back(Exclude("", 53));
  ASSERT_EQ(configurator->SetNetSettings(settings), 0);
  const tm::pdkSettings stored = Stored<tm::pdkSettings>(tm::CLDIS_TcpInterceptor);
  ASSERT_EQ(stored.endpointExcludes.size(), 1u);
  EXPECT_EQ(stored.endpointExcludes[0].firstEndpoint.v6.scopeId, 3u);
  EXPECT_EQ(stored.endpointExcludes[0].firstEndpoint.v6.port, 8080);
  EXPECT_EQ(stored.outgoingExcludes.size(), 2u);

  // Read back: the scope and the embedded port are gone, the empty address is two entries.
  const qel::settings::NetSettings read = Current();
  ASSERT_EQ(read.endpointExcludes.size(), 1u);
  EXPECT_EQ(read.endpointExcludes[0].address.view(), "fe80::1");
  EXPECT_EQ(read.endpointExcludes[0].port, 22);
  ASSERT_EQ(read.outgoingExcludes.size(), 2u);
  EXPECT_EQ(read.outgoingExcludes[0].address.view(), "0.0.0.0");
  EXPECT_EQ(read.outgoingExcludes[1].address.view(), "::");
  // The read-back form parses to different rules (no scope): a change.
  EXPECT_EQ(configurator->SetNetSettings(read), 0);
}

TEST_F(ApplyTest, Set_RevisionConflict_ModifierRerunsOnFreshRecord) {
  qel::settings::NetSettings settings = Current();
  settings.sslExcludes.push_back(orv::types::string8_t("x.example"));
  services.settings->InjectConflicts(3);
  ASSERT_EQ(configurator->SetNetSettings(settings), 0);
  EXPECT_EQ(services.settings->conflicts(), 3u);
  EXPECT_EQ(Stored<tm::pdkSettings>(tm::CLDIS_TcpInterceptor).ssl.excludes.size(), 1u);
  EXPECT_EQ(NewWrites(), 1u);
}

TEST_F(ApplyTest, Set_TwoThreadsDifferentSettings_BothWrittenOneAfterTheOther) {
  qel::settings::NetSettings first = Current();
  first.sslExcludes.push_back(orv::types::string8_t("first.example"));
  qel::settings::NetSettings second = Current();
  second.sslExcludes.push_back(orv::types::string8_t("second.example"));
  const uint32_t revision = EngineRevision();
  services.settings->InjectConflicts(4);
  result_t firstResult = -1;
  result_t secondResult = -1;
  std::thread one([&] { firstResult = configurator->SetNetSettings(first); });
  std::thread two([&] { secondResult = configurator->SetNetSettings(second); });
  one.join();
  two.join();
  EXPECT_EQ(firstResult, 0);
  EXPECT_EQ(secondResult, 0);
  // Each compared against the other's record and wrote: two writes of the engine's record.
  EXPECT_EQ(NewWrites(), 2u);
  const tm::pdkSettings stored = Stored<tm::pdkSettings>(tm::CLDIS_TcpInterceptor);
  ASSERT_EQ(stored.ssl.excludes.size(), 1u);
  const std::u16string_view last = stored.ssl.excludes[0].mask.view();
  EXPECT_TRUE(last == u"first.example" || last == u"second.example");
  EXPECT_GE(EngineRevision(), revision + 2);
}

TEST_F(ApplyTest, Set_FirstReadFails_ReportedAsStepTwoAndNothingWritten) {
  qel::settings::NetSettings settings = Current();
  settings.sslExcludes.push_back(orv::types::string8_t("x.example"));
  settings.NetworkPorts.ports.clear();
  services.settings->InjectFailure(host::MemoryServiceManager::Operation::kGet,
                                   orv::MakeResult(0x80000045));
  EXPECT_EQ(configurator->SetNetSettings(settings), orv::MakeResult(0x80000045));
  EXPECT_TRUE(tracer->Contains("Cannot set TcpInterceptor settings"));
  EXPECT_EQ(NewWrites(), 0u);
}

}  // namespace
