#include "qel/enums/verification_result.h"

#include <gtest/gtest.h>

#include <tuple>

namespace qel {
namespace {

TEST(VerificationResult, GivesKeyAndStatus) {
  const std::tuple<uint32_t, const char*, uint32_t> cases[] = {
      {0x80010002, "SslResult_CertVerifyUnknownRevocationStatus", 1},
      {0x80020005, "SslResult_CertVerifyInvalidSignature", 7},
      {0x80030009, "SslResult_CertVerifyInvalidUsage", 17},
      {0x80040001, "SslResult_CertVerifyInvalidExpirationDate", 18},
      {0x80080003, "SslResult_WeakAlgorithm", 20},
      {0x80080001, "SslResult_CertVerifyUnknownError", 21},
      // One row of each facility, then: the facility bits 20..30 do not count; anything unknown
      // is the last row.
      {0x80120003, "SslResult_CertVerifyUntrustedRoot", 5},
      {0xfff40001, "SslResult_CertVerifyInvalidExpirationDate", 18},
      {0, "SslResult_CertVerifyUnknownError", 21},
      {0x00010001, "SslResult_CertVerifyUnknownError", 21},
      {0x80010004, "SslResult_CertVerifyUnknownError", 21}};
  for (const auto& [code, name, status] : cases) {
    const auto [foundName, foundStatus] = GetVerificationResultName(code);
    EXPECT_EQ(foundName, std::string_view(name)) << std::hex << code;
    EXPECT_EQ(foundStatus, status) << std::hex << code;
  }
}

}  // namespace
}  // namespace qel
