#pragma once

#include <cstdint>

namespace qel::tools {

// Throws orv::SystemException for errno with "System function '<function>' ends with error. In "
// and the source location.
[[noreturn]] void ThrowSystemError(const char* function, const char* file, uint32_t line);

}  // namespace qel::tools
