// TcpInterceptorConfigurator through the real module: start-up, reading, exclusions, trusted URLs.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "component/traffic_processing/protocollers/ssl/auto_excludes/auto_excludes.h"
#include "component/traffic_processing/traffic_monitor/trusted_urls_settings.h"
#include "configurator_fixture.h"
#include "crypto/certificate_chain_verification_settings.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"
#include "qel/web_av_info_provider.h"

namespace {

namespace tti = qel::tcp_traffic_interceptor;
namespace tm = ::traffic_processing::traffic_monitor;
namespace auto_excludes = ::traffic_processing::protocollers::ssl::auto_excludes;
using ::tti::test::ConfiguratorTest;

std::vector<std::u16string> Texts(const qel::ssl::Excludes& excludes) {
  std::vector<std::u16string> texts;
  for (const orv::types::string16_t& text : excludes) {
    texts.emplace_back(text.view());
  }
  return texts;
}

TEST_F(ConfiguratorTest, Create_AutomaticExclusionsModeOneOnce_DefaultSettings) {
  EXPECT_EQ(Stored<auto_excludes::AutoExcludesSettings>(auto_excludes::CLSID_AutoExcludes).mode,
            1u);
  EXPECT_EQ(services.settings->writes(), 1u);
  EXPECT_EQ(services.settings->flushes(), 1u);
  // A second object finds mode 1 and writes nothing.
  auto second = Create<tti::ITcpInterceptorConfigurator>(tti::CLSID_TcpInterceptorConfigurator);
  EXPECT_EQ(services.settings->writes(), 1u);

  // The defaults of a fresh machine.
  const qel::settings::NetSettings settings = Current();
  EXPECT_TRUE(settings.EncryptedConnectionsScan);
  EXPECT_EQ(settings.EncryptedConnectionsScanErrorAction,
            qel::EncryptedConnectionsScanErrorAction::AddToAutoExclusions);
  EXPECT_EQ(settings.UntrustedCertificateAction, qel::UntrustedCertificateAction::Allow);
  EXPECT_EQ(settings.CertificateVerificationPolicy, qel::CertificateVerificationPolicy::FullCheck);
  EXPECT_EQ(settings.NetworkPorts.ports.size(), 15u);
  EXPECT_TRUE(tracer->Contains("GetNetSettings: [FirewallBypass] Setting outgoing excludes"));
}

TEST_F(ConfiguratorTest, Create_AutoExcludesWriteFails_NoObject) {
  services.settings->InjectFailure(host::MemoryServiceManager::Operation::kUpdate,
                                   orv::MakeResult(0x80000045), true);
  services.settings->Seed(auto_excludes::CLSID_AutoExcludes, auto_excludes::AutoExcludesSettings{});
  orv::intrusive_ptr<tti::ITcpInterceptorConfigurator> object;
  EXPECT_EQ(Factory(tti::CLSID_TcpInterceptorConfigurator)
                ->CreateInstance(services.locator.get(), tti::ITcpInterceptorConfigurator::kIid,
                                 reinterpret_cast<void**>(object.Ref())),
            orv::MakeResult(0x80000045));
  EXPECT_FALSE(object);
  EXPECT_TRUE(
      tracer->Contains("(tools::UpdateServiceSettingsSync(GetTracer(), GetServiceLocator(), "
                       "auto_excludes::CLSID_AutoExcludes, modifier))"));
}

TEST_F(ConfiguratorTest, GetNetSettings_MapsStoredRecords) {
  tm::pdkSettings engine;
  engine.ssl.mode = 2;
  for (const char16_t* mask : {u"a.example", u"b.example"}) {
    tm::SslExcludeRule rule;
    rule.enabled = mask[0] == u'a';  // the last rule decides: false
    rule.mask = mask;
    engine.ssl.excludes.push_back(rule);
  }
  services.settings->Seed(tm::CLDIS_TcpInterceptor, engine);
  services.settings->Seed(
      tti::CLSID_InvalidCertificateHandler,
      tti::InvalidCertificateHandlerSettings{qel::UntrustedCertificateAction::Block, false});
  services.settings->Seed(crypto::CLSID_CertificateChainVerifier,
                          crypto::CertificateChainVerificationSettings{7, 2});

  qel::settings::NetSettings settings;
  settings.ManageExclusions = true;
  ASSERT_EQ(configurator->GetNetSettings(settings), 0);
  EXPECT_TRUE(settings.EncryptedConnectionsScan);  // mode 2 is on
  EXPECT_FALSE(settings.ManageExclusions);
  ASSERT_EQ(settings.sslExcludes.size(), 2u);
  EXPECT_EQ(settings.sslExcludes[1].view(), "b.example");
  EXPECT_EQ(settings.EncryptedConnectionsScanErrorAction,
            qel::EncryptedConnectionsScanErrorAction::Disconnect);
  EXPECT_EQ(settings.UntrustedCertificateAction, qel::UntrustedCertificateAction::Block);
  EXPECT_EQ(settings.CertificateVerificationPolicy, qel::CertificateVerificationPolicy::LocalCheck);

  // With no rules the flag keeps the caller's value.
  services.settings->Seed(tm::CLDIS_TcpInterceptor, tm::pdkSettings{});
  settings.ManageExclusions = true;
  ASSERT_EQ(configurator->GetNetSettings(settings), 0);
  EXPECT_TRUE(settings.ManageExclusions);
}

TEST_F(ConfiguratorTest, GetNetSettings_ReadFails_StopsThereWithItsTrace) {
  services.settings->InjectFailure(host::MemoryServiceManager::Operation::kGet,
                                   orv::MakeResult(0x80000105));
  qel::settings::NetSettings settings;
  EXPECT_EQ(configurator->GetNetSettings(settings), orv::MakeResult(0x80000105));
  EXPECT_TRUE(tracer->Contains(
      "(m_esm->GetServiceSettings2(tm::CLDIS_TcpInterceptor, &pdkSettings, revision))"));
  EXPECT_TRUE(tracer->Contains("Cannot get service settings"));
}

TEST_F(ConfiguratorTest, Excludes_AutoTrafmonAndUser) {
  const auto provider = As<qel::IWebAvInfoProvider>(configurator.get());
  qel::ssl::Excludes autoExcludes;
  autoExcludes.push_back(orv::types::string16_t(u"replaced"));
  ASSERT_EQ(provider->GetAutoSslExcludes(autoExcludes), 0);
  EXPECT_EQ(Texts(autoExcludes),
            (std::vector<std::u16string>{u"auto-excluded.example.com", u"*.pinned.example.org"}));

  // Appended to what is there; the entry narrowed by a second text is skipped.
  qel::ssl::Excludes trafmon;
  trafmon.push_back(orv::types::string16_t(u"kept"));
  ASSERT_EQ(provider->GetTrafmonSslExcludes(trafmon), 0);
  EXPECT_EQ(Texts(trafmon),
            (std::vector<std::u16string>{u"kept", u"bank.example.com", u"*.update.example.net"}));

  qel::settings::NetSettings settings = Current();
  settings.sslExcludes.push_back(orv::types::string8_t("user.example"));
  ASSERT_EQ(configurator->SetNetSettings(settings), 0);
  qel::ssl::Excludes user;
  ASSERT_EQ(provider->GetUserSslExcludes(user), 0);
  EXPECT_TRUE(user.empty());  // ManageExclusions is false
  settings.ManageExclusions = true;
  ASSERT_EQ(configurator->SetNetSettings(settings), 0);
  ASSERT_EQ(provider->GetUserSslExcludes(user), 0);
  EXPECT_EQ(Texts(user), (std::vector<std::u16string>{u"user.example"}));

  ASSERT_EQ(provider->ClearAutoSslExcludes(), 0);
  EXPECT_TRUE(services.autoExcludes->Excludes().empty());
}

TEST_F(ConfiguratorTest, Trusted_WrittenEveryTimeFlagReadFromLastEntry_EmptyListReadsTrue) {
  qel::settings::TrustedAddresses addresses;
  addresses.addresses.push_back(orv::types::string16_t(u"  https://intranet.example/ \t"));
  addresses.addresses.push_back(orv::types::string16_t(u"   "));
  addresses.UseTrustedAddresses = false;
  ASSERT_EQ(configurator->SetTrustedAddresses(addresses), 0);
  ASSERT_EQ(configurator->SetTrustedAddresses(addresses), 0);
  EXPECT_EQ(services.settings->writes(), 3u);  // start-up, then both calls
  EXPECT_EQ(services.settings->flushes(), 3u);
  const auto record = Stored<tm::TrustedUrlsSettings>(tm::CLSID_TrustedUrls);
  EXPECT_FALSE(record.useTrustedUrls);
  ASSERT_EQ(record.urls.size(), 2u);
  EXPECT_EQ(record.urls[0].url.view(), u"https://intranet.example/");
  EXPECT_EQ(record.urls[1].url.view(), u"");
  EXPECT_TRUE(record.urls[1].enabled);

  qel::settings::TrustedAddresses read;
  read.UseTrustedAddresses = false;
  ASSERT_EQ(configurator->GetTrustedAddresses(read), 0);
  EXPECT_TRUE(read.UseTrustedAddresses);  // from the last entry, not from useTrustedUrls
  EXPECT_EQ(Texts(read.addresses),
            (std::vector<std::u16string>{u"https://intranet.example/", u""}));

  // An empty list reads back as on, and empties the caller's list.
  addresses.addresses.clear();
  ASSERT_EQ(configurator->SetTrustedAddresses(addresses), 0);
  read.UseTrustedAddresses = false;
  read.addresses.push_back(orv::types::string16_t(u"old"));
  ASSERT_EQ(configurator->GetTrustedAddresses(read), 0);
  EXPECT_TRUE(read.UseTrustedAddresses);
  EXPECT_TRUE(read.addresses.empty());
}

}  // namespace
