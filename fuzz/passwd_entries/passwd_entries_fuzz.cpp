// Random account files: every account read is root or at least the minimum uid, has a name from
// the text and the role a user without groups gets.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "qel/tools/accounts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  FILE* file = fmemopen(const_cast<uint8_t*>(data), size, "r");
  if (file == nullptr) {
    return 0;
  }
  constexpr uint64_t kUidMin = 1000;
  const auto users = qel::tools::LocalUsersFromFile(file, kUidMin, {});
  std::fclose(file);
  for (const qel::QelUser& user : users) {
    const bool root = user.uid == 0;
    if ((!root && user.uid < kUidMin) || text.find(user.name) == std::string_view::npos ||
        user.role != (root ? qel::kRoleAdministrator : qel::kRoleUser)) {
      std::abort();
    }
  }
  return 0;
}
