// Random login definitions: the answer is the default or a number written in the text, never a
// number past 64 bits cut to the largest one (strtoul takes a sign: with a '-' anything goes).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "qel/tools/accounts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::istringstream file(text);
  const uint64_t uidMin = qel::tools::UidMinFromStream(file);
  if (uidMin != 1000 && text.find(std::to_string(uidMin)) == std::string::npos &&
      text.find('-') == std::string::npos) {
    std::abort();
  }
  return 0;
}
