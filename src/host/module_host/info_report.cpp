#include "info_report.h"

#include <cstdio>

namespace module_host {

std::string Hex(uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08x", value);
  return text;
}

}  // namespace module_host
