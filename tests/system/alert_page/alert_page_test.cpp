#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "alert_page_fixture.h"
#include "support/cert_factory.h"

namespace tti_test {
namespace {

using tti::test::MakeRootCertificate;
using tti::test::MakeServerCertificate;
using tti::test::TestCertificate;

size_t Count(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

constexpr const char* kContinue = "https://engine.invalid/continue?token=a1";

TEST_F(AlertPageTest, WarnForm_EveryPlaceholderFilledAndWorded) {
  TestCertificate root = MakeRootCertificate("Example Root");
  TestCertificate server = MakeServerCertificate(root, "shop.example");
  Detect("shop.example", {&server, &root});

  const std::string page = Page("shop.example", kContinue);
  EXPECT_EQ(LeftOverMark(page), "");
  EXPECT_NE(page.find("Morvane Shield 12.3"), std::string::npos);
  EXPECT_NE(page.find(CatalogText("ActionWarn")), std::string::npos);
  EXPECT_NE(page.find(CatalogText("DetailsTitleWarn")), std::string::npos);
  EXPECT_NE(page.find(CatalogText("SslResult_CertVerifyUntrustedRoot")), std::string::npos);
  EXPECT_NE(page.find(std::string("id=\"continue\" href=\"") + kContinue + "\""),
            std::string::npos);
  EXPECT_NE(page.find("href=\"https://engine.invalid/certificate?id=7\""), std::string::npos);
  EXPECT_NE(page.find("<dd id=\"subject\">shop.example</dd>"), std::string::npos);
  EXPECT_NE(page.find("<dd id=\"issuer\">Example Root</dd>"), std::string::npos);
  // The whole chain as the engine gave it, server first.
  EXPECT_EQ(Count(page, "-----BEGIN CERTIFICATE-----"), 2u);
  EXPECT_NE(page.find(server.Pem()), std::string::npos);
  // A placeholder that the template holds twice is replaced twice (title and site line).
  EXPECT_EQ(Count(page, "shop.example"), 3u);
}

struct FormCase {
  uint32_t action;
  const char* continueUrl;
  bool warn;
};

void PrintTo(const FormCase& value, std::ostream* out) {
  *out << "action " << value.action << (*value.continueUrl ? " with" : " without") << " address";
}

class AlertPageForms : public AlertPageTest, public ::testing::WithParamInterface<FormCase> {};

TEST_P(AlertPageForms, TheAddressDecidesTheForm) {
  TestCertificate root = MakeRootCertificate("Form Root");
  Detect("form.example", {&root});
  SetAction(GetParam().action);
  const std::string page = Page("form.example", GetParam().continueUrl);
  const bool warn = GetParam().warn;
  EXPECT_EQ(page.find(CatalogText("ActionWarn")) != std::string::npos, warn);
  EXPECT_EQ(page.find(CatalogText("ActionDeny")) != std::string::npos, !warn);
  EXPECT_EQ(page.find(CatalogText("DetailsTitleDeny")) != std::string::npos, !warn);
  const std::string link =
      std::string("id=\"continue\" href=\"") + (warn ? GetParam().continueUrl : "") + "\"";
  EXPECT_NE(page.find(link), std::string::npos) << link;
  if (!warn) {
    EXPECT_EQ(page.find("token="), std::string::npos);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Settings, AlertPageForms,
    ::testing::Values(FormCase{0, kContinue, true},
                      // A block setting takes the way out, whatever the engine sent.
                      FormCase{1, kContinue, false},
                      // No address, no way on, under any setting.
                      FormCase{0, "", false},
                      // Out of range values leave the address as it came.
                      FormCase{7, kContinue, true}));

TEST_F(AlertPageTest, HostileNamesShowAsText) {
  TestCertificate hostile = MakeRootCertificate("<script>alert(\"x\")</script> a&b 'q'");
  Detect("hostile.example", {&hostile});
  const std::string page = Page("hostile.example", kContinue);
  const std::string escaped =
      "&lt;script&gt;alert(&quot;x&quot;)&lt;/script&gt; a&amp;b &#x27;q&#x27;";
  EXPECT_NE(page.find("<dd id=\"subject\">" + escaped + "</dd>"), std::string::npos);
  EXPECT_NE(page.find("<dd id=\"issuer\">" + escaped + "</dd>"), std::string::npos);
  EXPECT_EQ(page.find("<script>"), std::string::npos);
  EXPECT_EQ(page.find("&amp;amp;"), std::string::npos);
}

TEST_F(AlertPageTest, DomainIsNotEscaped) {
  TestCertificate root = MakeRootCertificate("Quote Root");
  Detect("it's.example", {&root});
  const std::string page = Page("it's.example", kContinue);
  EXPECT_EQ(Count(page, "it's.example"), 2u);
  EXPECT_EQ(page.find("it&#x27;s"), std::string::npos);
}

TEST_F(AlertPageTest, UncachedDomain_PageServedWithTheCertificatePlaceholders) {
  const std::string page = Page("never.example", kContinue);
  for (const char* placeholder : {"%CertificateSubject%", "%CertificateIssuer%",
                                  "%CertificateExpirationDate%", "%CertificatePEMData%"}) {
    EXPECT_NE(page.find(placeholder), std::string::npos) << placeholder;
  }
  EXPECT_NE(page.find(CatalogText("ActionWarn")), std::string::npos);
  EXPECT_TRUE(
      tracer->Contains("(m_cache.Get(domain, cert)),(ORV_SUCCEEDED(_result)) failed: "
                       "result = 0x8000004c"));
  EXPECT_TRUE(tracer->Contains("Cannot get cert chain for domain never.example"));
}

TEST_F(AlertPageTest, UnnamedVerificationResultShowsTheUnknownErrorText) {
  TestCertificate root = MakeRootCertificate("Unknown Root");
  Detect("unknown.example", {&root}, 0x12345);
  std::string page;
  ASSERT_EQ(Page("unknown.example", kContinue, page, 0x12345), 0);
  EXPECT_NE(page.find(CatalogText("SslResult_CertVerifyUnknownError")), std::string::npos);
}

TEST_F(AlertPageTest, TraceLines_OneEntryLinePerStepAndNothingElse) {
  tti::test::TestCertificate root = MakeRootCertificate("Trace Root");
  Detect("trace.example", {&root});
  tracer->Clear();
  Page("trace.example", kContinue);
  EXPECT_EQ(tracer->Texts(800),
            (std::vector<std::string>{
                "virtual result_t "
                "qel::tcp_traffic_interceptor::InvalidCertificateHandler::GetWebAlertStub(const "
                "traffic_processing::protocollers::ssl::InvalidCertificateWebAlertData&, "
                "orv::types::string8_t&)",
                "result_t "
                "qel::tcp_traffic_interceptor::InvalidCertificateHandler::InsertCertificateInfo("
                "const orv::types::string8_t&, std::string&)",
                "result_t "
                "qel::tcp_traffic_interceptor::InvalidCertificateHandler::LocalizeHtmlTemplate("
                "uint64_t, std::string&)",
            }));
  EXPECT_TRUE(tracer->Texts(300).empty());
  EXPECT_TRUE(tracer->Texts(500).empty());
}

}  // namespace
}  // namespace tti_test
