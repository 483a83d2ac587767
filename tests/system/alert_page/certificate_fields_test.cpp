// Names without a common name and the expiry as date text, from certificates reshaped here.

#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "alert_page_fixture.h"
#include "support/cert_factory.h"

namespace tti_test {
namespace {

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
  const std::string open = "<dd id=\"" + id + "\">";
  const size_t start = page.find(open);
  if (start == std::string::npos) {
    return "(no " + id + ")";
  }
  const size_t from = start + open.size();
  return page.substr(from, page.find("</dd>", from) - from);
}

TEST_F(AlertPageTest, NoCommonName_WordedByTheLocaliser_ExpiryInTheMachinesZone) {
  tti::test::TestCertificate certificate = Reshaped("20300102030405Z");
  Detect("nameless.example", {&certificate});

  SetZone("UTC0");
  std::string page = Page("nameless.example", "");
  EXPECT_EQ(Field(page, "subject"), CatalogText("NotPartOfCertificate"));
  EXPECT_EQ(Field(page, "issuer"), CatalogText("NotPartOfCertificate"));
  EXPECT_EQ(Field(page, "expires"), "2030-01-02 03:04:05");

  // The zone of the machine that serves the page, whatever the browser's.
  SetZone("JST-9");
  page = Page("nameless.example", "");
  EXPECT_EQ(Field(page, "expires"), "2030-01-02 12:04:05");
  SetZone("UTC0");
}

TEST_F(AlertPageTest, ExpiryBefore1601_ShowsTheFirstDayOf1601) {
  tti::test::TestCertificate certificate = Reshaped("15000101000000Z");
  Detect("ancient.example", {&certificate});
  SetZone("UTC0");
  EXPECT_EQ(Field(Page("ancient.example", ""), "expires"), "1601-01-01 00:00:00");
}

}  // namespace
}  // namespace tti_test
