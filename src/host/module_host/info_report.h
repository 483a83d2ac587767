#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orv/result.h"

namespace module_host {

// What `info` learnt from the module; everything is copied out before the module is unloaded.
struct InfoReport {
  struct ClassAnswer {
    uint32_t id;
    std::string name;
    result_t result;  // orvGetObjectFactory's answer; 0 is "served"
  };
  struct Field {
    std::string name;
    uint32_t kind;
    uint32_t offset;
    uint64_t size;
  };
  struct Descriptor {
    uint32_t id = 0;
    std::string name;
    uint64_t size = 0;
    std::vector<Field> fields;
  };

  std::string modulePath;
  std::vector<ClassAnswer> classes;
  std::vector<uint32_t> typeIds;
  Descriptor descriptor;
  result_t canUnloadWhileHeld = 0;
  result_t canUnloadAfterRelease = 0;
  bool unloaded = false;
};

// "0x%08x".
std::string Hex(uint32_t value);

}  // namespace module_host
