#pragma once

#include <cstdint>
#include <utility>

#include "orv/string.h"
#include "qel/enums/certificate_status.h"

namespace qel {

// The engine's verification failure code as a localisation key and a CertificateStatus. The
// facility bits 20..30 do not matter; an unknown code, success included, gives
// "SslResult_CertVerifyUnknownError" and UnknownError.
std::pair<orv::types::string8_t, CertificateStatus::Type> GetVerificationResultName(uint32_t code);

}  // namespace qel
