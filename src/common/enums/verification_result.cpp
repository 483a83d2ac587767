#include "qel/enums/verification_result.h"

#include <iterator>

namespace qel {
namespace {

struct VerificationRow {
  uint32_t code;
  const char* name;
  CertificateStatus::Type status;
};

// The engine puts its facility into bits 20..30; only the rest names the failure.
constexpr uint32_t kFacilityMask = 0x800fffff;

constexpr VerificationRow kRows[] = {
    {0x80010001, "SslResult_CertVerifyTrustIsRevoked", CertificateStatus::TrustIsRevoked},
    {0x80010002, "SslResult_CertVerifyUnknownRevocationStatus",
     CertificateStatus::UnknownRevocationStatus},
    {0x80010003, "SslResult_CertVerifyRevocationStatusIsOfflineOrStale",
     CertificateStatus::RevocationStatusIsOfflineOrStale},
    {0x80020001, "SslResult_CertVerifyIncompleteChain", CertificateStatus::IncompleteChain},
    {0x80020002, "SslResult_CertVerifyInvalidToIssueOthers",
     CertificateStatus::InvalidToIssueOthers},
    {0x80020003, "SslResult_CertVerifyUntrustedRoot", CertificateStatus::UntrustedRoot},
    {0x80020004, "SslResult_CertVerifySelfSigned", CertificateStatus::SelfSigned},
    {0x80020005, "SslResult_CertVerifyInvalidSignature", CertificateStatus::InvalidSignature},
    {0x80020006, "SslResult_CertVerifyImproperlyTimeNested",
     CertificateStatus::ImproperlyTimeNested},
    {0x80030001, "SslResult_CertVerifyHasNotPermittedNameConstraint",
     CertificateStatus::HasNotPermittedNameConstraint},
    {0x80030002, "SslResult_CertVerifyNoIssuanceChainPolicy",
     CertificateStatus::NoIssuanceChainPolicy},
    {0x80030003, "SslResult_CertVerifyHasExcludedNameConstraint",
     CertificateStatus::HasExcludedNameConstraint},
    {0x80030004, "SslResult_CertVerifyInvalidNameConstraints",
     CertificateStatus::InvalidNameConstraints},
    {0x80030005, "SslResult_CertVerifyHasNotSupportedNameConstraint",
     CertificateStatus::HasNotSupportedNameConstraint},
    {0x80030006, "SslResult_CertVerifyHasNotDefinedNameConstraint",
     CertificateStatus::HasNotDefinedNameConstraint},
    {0x80030007, "SslResult_CertVerifyInvalidExtension", CertificateStatus::InvalidExtension},
    {0x80030008, "SslResult_CertVerifyInvalidPolicyConstraints",
     CertificateStatus::InvalidPolicyConstraints},
    {0x80030009, "SslResult_CertVerifyInvalidUsage", CertificateStatus::InvalidUsage},
    {0x80040001, "SslResult_CertVerifyInvalidExpirationDate",
     CertificateStatus::InvalidExpirationDate},
    {0x80080002, "SslResult_CertVerifyInvalidName", CertificateStatus::InvalidName},
    {0x80080003, "SslResult_WeakAlgorithm", CertificateStatus::WeakAlgorithm},
    // The last row answers for every code not above, 0x80080001 among them.
    {0x80080001, "SslResult_CertVerifyUnknownError", CertificateStatus::UnknownError},
};

}  // namespace

std::pair<orv::types::string8_t, CertificateStatus::Type> GetVerificationResultName(uint32_t code) {
  const uint32_t masked = code & kFacilityMask;
  const VerificationRow* row = std::end(kRows) - 1;
  for (const VerificationRow& candidate : kRows) {
    if (candidate.code == masked) {
      row = &candidate;
      break;
    }
  }
  return {orv::types::string8_t(row->name), row->status};
}

}  // namespace qel
