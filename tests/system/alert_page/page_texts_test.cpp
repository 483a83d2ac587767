// The page against other texts of the localisation library: a catalogue without a key, product
// messages that do and do not format, a catalogue that cannot be read.

#include <gtest/gtest.h>

#include <string>

#include "alert_page_fixture.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"

namespace tti_test {
namespace {

constexpr const char* kContinue = "https://engine.invalid/continue";
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
  EXPECT_TRUE(
      tracer->Contains("(tools::CreateLocalizer(GetServiceLocator(), uniqPid, "
                       "u\"traffic_processing\", localizer)),(ORV_SUCCEEDED(_result)) "
                       "failed: result = 0x8000004c"));
  EXPECT_TRUE(
      tracer->Contains("(LocalizeHtmlTemplate(data.uniqPid, body)),(ORV_SUCCEEDED(_result)) "
                       "failed: result = 0x8000004c (Not found) Cannot localize html "
                       "template"));
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
}  // namespace tti_test
