#pragma once

#include <cstdint>

#include "orv/string.h"

namespace qel {

// A user as events and tasks carry it: the user id and the name in UTF-16.
struct UserInfo {
  uint32_t uid = 0;
  orv::types::string16_t name;
};

static_assert(sizeof(UserInfo) == 56);

}  // namespace qel
