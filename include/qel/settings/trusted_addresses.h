#pragma once

#include <cstddef>

#include "orv/string.h"
#include "orv/vector.h"

namespace qel::settings {

// Addresses or URLs the traffic engine is to trust, with one switch for the whole list.
struct TrustedAddresses {
  orv::types::vector_t<orv::types::string16_t> addresses;
  bool UseTrustedAddresses = true;
};

static_assert(sizeof(TrustedAddresses) == 40 &&
              offsetof(TrustedAddresses, UseTrustedAddresses) == 32);

}  // namespace qel::settings
