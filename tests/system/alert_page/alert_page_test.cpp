#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <ctime>
#include <regex>
#include <string>
#include <vector>

#include "alert_page_fixture.h"
#include "invalid_certificate/trace_texts.h"
#include "support/cert_factory.h"

namespace tti::test {
namespace {

namespace texts = qel::tcp_traffic_interceptor::handler_texts;

size_t Count(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

constexpr const char* kContinue = "https://engine.invalid/continue?token=a1";

TEST_F(AlertPageTest, WarnForm_EveryPlaceholderFilledAndWordedOneTraceLinePerStep) {
  TestCertificate root = MakeRootCertificate("Example Root");
  TestCertificate server = MakeServerCertificate(root, "shop.example");
  Detect("shop.example", {&server, &root});
  tracer->Clear();

  const std::string page = Page("shop.example", kContinue);
  // One entry line per step and nothing else. Golden: the expected lines stay literal, an
  // independent witness that the named fixed texts hold the right bytes.
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
  EXPECT_EQ(LeftOverMark(page), "");
  // The whole chain as the engine gave it, server first.
  for (const std::string& part :
       {std::string("Morvane Shield 12.3"), CatalogText("ActionWarn"),
        CatalogText("DetailsTitleWarn"), CatalogText("SslResult_CertVerifyUntrustedRoot"),
        std::string("id=\"continue\" href=\"") + kContinue + "\"",
        std::string("href=\"https://engine.invalid/certificate?id=7\""),
        std::string("<dd id=\"subject\">shop.example</dd>"),
        std::string("<dd id=\"issuer\">Example Root</dd>"), server.Pem() + root.Pem()}) {
    EXPECT_NE(page.find(part), std::string::npos) << part;
  }
  EXPECT_EQ(Count(page, "-----BEGIN CERTIFICATE-----"), 2u);
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

TEST_F(AlertPageTest, HostileNamesShowAsTextTheDomainAsItCame) {
  TestCertificate hostile = MakeRootCertificate("<script>alert(\"x\")</script> a&b 'q'");
  Detect("it's.example", {&hostile});
  const std::string page = Page("it's.example", kContinue);
  const std::string escaped =
      "&lt;script&gt;alert(&quot;x&quot;)&lt;/script&gt; a&amp;b &#x27;q&#x27;";
  EXPECT_NE(page.find("<dd id=\"subject\">" + escaped + "</dd>"), std::string::npos);
  EXPECT_NE(page.find("<dd id=\"issuer\">" + escaped + "</dd>"), std::string::npos);
  EXPECT_EQ(page.find("<script>"), std::string::npos);
  EXPECT_EQ(page.find("&amp;amp;"), std::string::npos);
  // The domain is not escaped.
  EXPECT_EQ(Count(page, "it's.example"), 2u);
  EXPECT_EQ(page.find("it&#x27;s"), std::string::npos);
}

// The page's certificate cache: an entry stays when the client is lost, a second certificate for a
// domain replaces the first, a domain differing in case only is not in it: its page is served with
// the certificate placeholders.
TEST_F(AlertPageTest, Cache_KeptWithoutClientReplacedBySecondCaseSensitive) {
  engine::SslConnectionData lost = Connection("lost.example");
  lost.serverCertificate = MakeServerCertificate(root, "kept-subject.example").Der();
  ASSERT_NE(HandlerTest::Detect(handler.get(), lost, 1, 0x80000042u), 0);
  const std::string page = Page("lost.example", kContinue);
  EXPECT_NE(page.find("kept-subject.example"), std::string::npos);
  EXPECT_EQ(page.find("%CertificateSubject%"), std::string::npos);
  const std::string uncached = Page("LOST.example", kContinue);
  for (const char* placeholder : {"%CertificateSubject%", "%CertificateIssuer%",
                                  "%CertificateExpirationDate%", "%CertificatePEMData%"}) {
    EXPECT_NE(uncached.find(placeholder), std::string::npos) << placeholder;
  }
  EXPECT_NE(uncached.find(CatalogText("ActionWarn")), std::string::npos);
  EXPECT_TRUE(tracer->Contains("(" + std::string(texts::kCacheGetExpression) +
                               "),(ORV_SUCCEEDED(_result)) failed: result = 0x8000004c"));
  EXPECT_TRUE(tracer->Contains("Cannot get cert chain for domain LOST.example"));

  TestCertificate first = MakeServerCertificate(root, "first-subject.example");
  TestCertificate second = MakeServerCertificate(root, "second-subject.example");
  Detect("twice.example", {&first});
  Detect("twice.example", {&second});
  const std::string replaced = Page("twice.example", kContinue);
  EXPECT_NE(replaced.find("second-subject.example"), std::string::npos);
  EXPECT_EQ(replaced.find("first-subject.example"), std::string::npos);
}

// Names without a common name and the expiry as date text, from certificates reshaped here.

// A self-signed certificate whose names hold only an organisation and whose notAfter is `notAfter`
// (ASN.1 GeneralizedTime text).
tti::test::TestCertificate Reshaped(const char* notAfter) {
  tti::test::TestCertificate certificate = tti::test::MakeRootCertificate("replaced");
  X509* x509 = certificate.x509.get();
  X509_NAME* name = X509_NAME_new();
  X509_NAME_add_entry_by_txt(name, "O", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>("No Common Name Ltd"), -1, -1,
                             0);
  EXPECT_EQ(X509_set_subject_name(x509, name), 1);
  EXPECT_EQ(X509_set_issuer_name(x509, name), 1);
  X509_NAME_free(name);
  EXPECT_EQ(ASN1_TIME_set_string(X509_getm_notAfter(x509), notAfter), 1);
  EXPECT_GT(X509_sign(x509, certificate.key.get(), EVP_sha256()), 0);
  return certificate;
}

void SetZone(const char* zone) {
  ::setenv("TZ", zone, 1);
  ::tzset();
}

std::string Field(const std::string& page, const std::string& id) {
  std::smatch field;
  const std::regex pattern("<dd id=\"" + id + "\">([^<]*)</dd>");
  return std::regex_search(page, field, pattern) ? field.str(1) : "(no " + id + ")";
}

TEST_F(AlertPageTest, NoCommonName_WordedByTheLocaliser_ExpiryInTheMachinesZone) {
  tti::test::TestCertificate certificate = Reshaped("20300102030405Z");
  Detect("nameless.example", {&certificate});
  tti::test::TestCertificate ancient = Reshaped("15000101000000Z");
  Detect("ancient.example", {&ancient});

  SetZone("UTC0");
  std::string page = Page("nameless.example", "");
  EXPECT_EQ(Field(page, "subject"), CatalogText("NotPartOfCertificate"));
  EXPECT_EQ(Field(page, "issuer"), CatalogText("NotPartOfCertificate"));
  EXPECT_EQ(Field(page, "expires"), "2030-01-02 03:04:05");
  // Before 1601: the first day of 1601.
  EXPECT_EQ(Field(Page("ancient.example", ""), "expires"), "1601-01-01 00:00:00");

  // The zone of the machine that serves the page, whatever the browser's.
  SetZone("JST-9");
  page = Page("nameless.example", "");
  EXPECT_EQ(Field(page, "expires"), "2030-01-02 12:04:05");
  SetZone("UTC0");
}
// The page against other texts of the localisation library: a catalogue without a key, product
// messages that do and do not format, a catalogue that cannot be read.

constexpr const char* kCatalog = "share/localization/en/traffic_processing.ini";

TEST_F(AlertPageTest, UnnamedVerificationResult_KeyReachesTheLocaliserAsItIs) {
  // Without a text for it the localiser leaves the key, so the page shows what was put in.
  ReplaceBuildFile(kCatalog, "ActionWarn = warned\nDetailsTitleWarn = details\n");
  tti::test::TestCertificate root = tti::test::MakeRootCertificate("Key Root");
  Detect("key.example", {&root}, 0x80080001);
  std::string page;
  ASSERT_EQ(Page("key.example", kContinue, page, 0x00000007), 0);
  EXPECT_NE(page.find("$SslResult_CertVerifyUnknownError$"), std::string::npos);
  EXPECT_NE(page.find("warned"), std::string::npos);
}

TEST_F(AlertPageTest, LocaliserCannotBeMade_FailsAndLeavesTheBody) {
  ReplaceBuildFile(kCatalog, "[a section]\nActionWarn = warned\n");
  std::string page = "the caller's body";
  EXPECT_LT(Page("nowhere.example", kContinue, page), 0);
  EXPECT_EQ(page, "the caller's body");
  EXPECT_TRUE(tracer->Contains("(" + std::string(texts::kCreateLocalizerExpression) +
                               "),(ORV_SUCCEEDED(_result)) failed: result = 0x8000004c"));
  EXPECT_TRUE(tracer->Contains("(" + std::string(texts::kLocalizeExpression) +
                               "),(ORV_SUCCEEDED(_result)) failed: result = 0x8000004c (Not found) "
                               "Cannot localize html template"));
}

struct ProductCase {
  const char* messages;  // the message catalogue
  const char* shown;     // the product text in the page
};

void PrintTo(const ProductCase& value, std::ostream* out) { *out << '"' << value.messages << '"'; }

class AlertPageProduct : public AlertPageTest, public ::testing::WithParamInterface<ProductCase> {};

TEST_P(AlertPageProduct, ProductTextOrTheFixedText) {
  ReplaceBuildFile("share/localization/en/messages.ini", GetParam().messages);
  const std::string page = Page("product.example", kContinue);
  EXPECT_NE(page.find(std::string(GetParam().shown) + "</p>"), std::string::npos)
      << page.substr(0, 200);
}

INSTANTIATE_TEST_SUITE_P(
    Messages, AlertPageProduct,
    ::testing::Values(ProductCase{"1086 = Shield %1%\n", "Shield 12.3"},
                      // No version mark: one argument too many is no error.
                      ProductCase{"1086 = Shield\n", "Shield"},
                      ProductCase{"1086 = %1%, again %1%\n", "12.3, again 12.3"},
                      // Too few arguments, a broken pattern, no message at all.
                      ProductCase{"1086 = Shield %2%\n", "7b3c8d00-7a6d-4291-bc54-7c8a3bfbdbfe"},
                      ProductCase{"1086 = Shield %|\n", "7b3c8d00-7a6d-4291-bc54-7c8a3bfbdbfe"},
                      ProductCase{"1 = other\n", "7b3c8d00-7a6d-4291-bc54-7c8a3bfbdbfe"}));

}  // namespace
}  // namespace tti::test
