#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_CertificateVerificationPolicy(ROW) \
  ROW(LocalCheck, 0)                                     \
  ROW(FullCheck, 1)

namespace qel::CertificateVerificationPolicy {
enum Type : uint32_t { QEL_ENUM_ROWS_CertificateVerificationPolicy(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::CertificateVerificationPolicy

QEL_ENUM_INFO(CertificateVerificationPolicy, 61, false, false)
