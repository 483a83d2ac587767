#include "module_session.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "info_report.h"

namespace module_host {

void Check(result_t result, const char* call) {
  if (ORV_FAILED(result)) {
    throw std::runtime_error(std::string(call) + " failed: " + Hex(static_cast<uint32_t>(result)));
  }
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot open " + path);
  }
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace module_host
