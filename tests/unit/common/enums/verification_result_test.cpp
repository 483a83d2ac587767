#include "qel/enums/verification_result.h"

#include <gtest/gtest.h>

namespace qel {
namespace {

struct VerificationCase {
  uint32_t code;
  const char* name;
  uint32_t status;
};

class VerificationResult : public testing::TestWithParam<VerificationCase> {};

TEST_P(VerificationResult, GivesKeyAndStatus) {
  const auto [name, status] = GetVerificationResultName(GetParam().code);
  EXPECT_EQ(name, std::string_view(GetParam().name));
  EXPECT_EQ(status, GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    Table, VerificationResult,
    testing::Values(VerificationCase{0x80010002, "SslResult_CertVerifyUnknownRevocationStatus", 1},
                    VerificationCase{0x80020005, "SslResult_CertVerifyInvalidSignature", 7},
                    VerificationCase{0x80030009, "SslResult_CertVerifyInvalidUsage", 17},
                    VerificationCase{0x80040001, "SslResult_CertVerifyInvalidExpirationDate", 18},
                    VerificationCase{0x80080003, "SslResult_WeakAlgorithm", 20},
                    VerificationCase{0x80080001, "SslResult_CertVerifyUnknownError", 21},
                    // One row of each facility, then: the facility bits 20..30 do not count;
                    // anything unknown is the last row.
                    VerificationCase{0x80120003, "SslResult_CertVerifyUntrustedRoot", 5},
                    VerificationCase{0xfff40001, "SslResult_CertVerifyInvalidExpirationDate", 18},
                    VerificationCase{0, "SslResult_CertVerifyUnknownError", 21},
                    VerificationCase{0x00010001, "SslResult_CertVerifyUnknownError", 21},
                    VerificationCase{0x80010004, "SslResult_CertVerifyUnknownError", 21}));

}  // namespace
}  // namespace qel
