#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>

#include "qel/tools/date_strings.h"

namespace qel::tools {
namespace {

constexpr size_t kMaxLocaleNameLength = 1024;

}  // namespace

result_t SetProcessLocale(const char* name) noexcept {
  const char* current = std::setlocale(LC_ALL, nullptr);
  if (!current || strnlen(current, kMaxLocaleNameLength) >= kMaxLocaleNameLength) {
    return orv::errors::kUnspecified;
  }
  // setlocale's answer lives in storage that the next call may overwrite.
  char saved[kMaxLocaleNameLength];
  std::strcpy(saved, current);
  if (!name || !*name) {
    name = "C";
  }
  if (!std::setlocale(LC_ALL, name)) {
    return orv::errors::kUnspecified;
  }
  // Children started later inherit the locale through the environment.
  if (setenv("LC_ALL", name, 1) != 0) {
    std::setlocale(LC_ALL, saved);
    return orv::errors::kUnspecified;
  }
  return orv::errors::kOk;
}

}  // namespace qel::tools
