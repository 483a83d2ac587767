#pragma once

#include <cstdint>
#include <vector>

namespace module_host {

struct KnownClass {
  uint32_t id;
  const char* name;
};

// The classes `info` asks the module for, in the order it prints them. Never holds the reserved
// identifier that ends the process.
const std::vector<KnownClass>& KnownClasses();

}  // namespace module_host
