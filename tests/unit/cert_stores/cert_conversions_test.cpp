#include "cert_stores/conversions/cert_conversions.h"

#include <regex>

#include <gtest/gtest.h>

#include "support/cert_factory.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

constexpr result_t kFailed = orv::MakeResult(0x8000004bu);

// The PEM text, the DER copy and the subject hash are checked by the real clients of the store
// tests; what they cannot see: a PEM text of several is read up to its first certificate, and the
// issuer text handed to the host is in RFC 2253 form.
TEST(CertConversionsTest, PemToRawTakesTheFirstAndIssuerTextIsRfc2253) {
  const auto root = tti::test::MakeRootCertificate("conversion root");
  const auto second = tti::test::MakeRootCertificate("second");
  RawCert raw;
  ASSERT_EQ(PemToRaw("comment\n" + root.Pem() + second.Pem(), raw), 0);
  EXPECT_TRUE(RawEqual(raw, root.Der()));
  EXPECT_EQ(GetIssuerText(root.x509.get()), "CN=conversion root,O=tti tests");
}

TEST(CertConversionsTest, BadInput_FailsWithUnspecified) {
  std::vector<uint8_t> pem;
  RawCert raw;
  uint64_t hash = 0;
  const RawCert garbage = {0x30, 0x03, 0x02, 0x01, 0x01};
  EXPECT_EQ(RawToPem({}, pem), kFailed);
  EXPECT_EQ(RawToPem(garbage, pem), kFailed);
  EXPECT_EQ(GetSubjectHash(garbage, hash), kFailed);
  EXPECT_EQ(PemToRaw("", raw), kFailed);
  EXPECT_EQ(PemToRaw("-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n", raw),
            kFailed);
}

TEST(CertConversionsTest, NamesAndHashText_PrefixAndEightLowercaseHexDigits) {
  EXPECT_EQ(GetHashText(0), "00000000");
  EXPECT_EQ(GetHashText(0xab), "000000ab");
  EXPECT_EQ(GetHashText(0xDEADBEEF), "deadbeef");
  const std::regex shape("Morvane_Shield_Personal_Root_Certificate_[0-9a-f]{8}");
  const std::string first = GenerateCertificateName();
  EXPECT_TRUE(std::regex_match(first, shape)) << first;
  const Certificate made = MakeCertificate({1, 2, 3});
  EXPECT_TRUE(std::regex_match(made.name, shape));
  EXPECT_EQ(made.raw, (RawCert{1, 2, 3}));
  EXPECT_EQ(AnchorFileName("N"), "N.crt");
  EXPECT_EQ(LinkFileName("N"), "N.pem");
}

struct NameCase {
  const char* text;
  bool name;
  bool file;
};

class ProductNameTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(ProductNameTest, RecognisesThePrefix) {
  EXPECT_EQ(IsProductCertificateName(GetParam().text), GetParam().name);
  EXPECT_EQ(IsProductCertificateFile(GetParam().text), GetParam().file);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ProductNameTest,
    ::testing::Values(
        NameCase{"", false, false},
        NameCase{"Morvane_Shield_Personal_Root_Certificate_0badf00d", true, true},
        NameCase{"/a/Morvane_Shield_Personal_Root_Certificate_0badf00d.crt", false, true},
        NameCase{"/a/Morvane_Shield_Personal_Root_Certificate_x/", false, false},
        NameCase{"/a/Morvane_Shield_Personal_Root_Certificate_dir", false, true},
        NameCase{"/Morvane_Shield_Personal_Root_Certificate_x/other.crt", false, false},
        NameCase{"Morvane_Shield_Personal_Root_Certificate", false, false},
        NameCase{"morvane_Shield_Personal_Root_Certificate_1.crt", false, false}));

TEST(CertListTest, MakeAndParse_RoundTripSkipsBadPiecesStopsWithoutColon) {
  const auto first = tti::test::MakeRootCertificate("one");
  const auto second = tti::test::MakeRootCertificate("two");
  const std::string text = MakeCertList({{"A", first.Der()}, {"bad", {1, 2}}, {"B", second.Der()}});
  EXPECT_EQ(text, "A:" + first.Pem() + ";B:" + second.Pem());
  const std::vector<Certificate> parsed = ParseCertList(text);
  ASSERT_EQ(parsed.size(), 2u);
  EXPECT_EQ(parsed[0].name, "A");
  EXPECT_TRUE(RawEqual(parsed[0].raw, first.Der()));
  EXPECT_EQ(parsed[1].name, "B");
  EXPECT_TRUE(RawEqual(parsed[1].raw, second.Der()));
  // A piece that is no PEM is skipped; one without a colon ends the list.
  const std::vector<Certificate> skipped =
      ParseCertList("X:not pem;A:" + first.Pem() + ";no colon;B:" + second.Pem());
  ASSERT_EQ(skipped.size(), 1u);
  EXPECT_EQ(skipped[0].name, "A");
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores
