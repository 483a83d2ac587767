#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/string.h"

namespace qel::settings {

// An address (empty: any address, in both families) and a port, as the settings layer writes them.
struct EndpointExclude {
  orv::types::string8_t address;
  uint16_t port = 0;
};

static_assert(sizeof(EndpointExclude) == 56 && offsetof(EndpointExclude, port) == 48);

}  // namespace qel::settings
