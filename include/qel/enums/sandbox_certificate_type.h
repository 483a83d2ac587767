#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_SandboxCertificateType(ROW) \
  ROW(DER, 0)                                     \
  ROW(PEM, 1)

namespace qel::SandboxCertificateType {
enum Type : uint32_t { QEL_ENUM_ROWS_SandboxCertificateType(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::SandboxCertificateType

QEL_ENUM_INFO(SandboxCertificateType, 84, true, true)
