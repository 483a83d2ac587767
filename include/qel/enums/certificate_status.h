#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_CertificateStatus(ROW) \
  ROW(TrustIsRevoked, 0)                     \
  ROW(UnknownRevocationStatus, 1)            \
  ROW(RevocationStatusIsOfflineOrStale, 2)   \
  ROW(IncompleteChain, 3)                    \
  ROW(InvalidToIssueOthers, 4)               \
  ROW(UntrustedRoot, 5)                      \
  ROW(SelfSigned, 6)                         \
  ROW(InvalidSignature, 7)                   \
  ROW(ImproperlyTimeNested, 8)               \
  ROW(HasNotPermittedNameConstraint, 9)      \
  ROW(NoIssuanceChainPolicy, 10)             \
  ROW(HasExcludedNameConstraint, 11)         \
  ROW(InvalidNameConstraints, 12)            \
  ROW(HasNotSupportedNameConstraint, 13)     \
  ROW(HasNotDefinedNameConstraint, 14)       \
  ROW(InvalidExtension, 15)                  \
  ROW(InvalidPolicyConstraints, 16)          \
  ROW(InvalidUsage, 17)                      \
  ROW(InvalidExpirationDate, 18)             \
  ROW(InvalidName, 19)                       \
  ROW(WeakAlgorithm, 20)                     \
  ROW(UnknownError, 21)

namespace qel::CertificateStatus {
enum Type : uint32_t { QEL_ENUM_ROWS_CertificateStatus(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::CertificateStatus

QEL_ENUM_INFO(CertificateStatus, 59, true, true)
