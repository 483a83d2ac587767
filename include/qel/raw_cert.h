#pragma once

#include "orv/vector.h"

namespace qel {

// The DER bytes of one certificate, as interfaces carry them.
using RawCert = orv::types::vector_t<unsigned char>;

}  // namespace qel
