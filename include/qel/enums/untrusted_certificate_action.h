#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_UntrustedCertificateAction(ROW) \
  ROW(Allow, 0)                                       \
  ROW(Block, 1)

namespace qel::UntrustedCertificateAction {
enum Type : uint32_t { QEL_ENUM_ROWS_UntrustedCertificateAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::UntrustedCertificateAction

QEL_ENUM_INFO(UntrustedCertificateAction, 58, false, false)
