#include <pwd.h>
#include <utmp.h>

#include <cerrno>
#include <cstring>
#include <set>

#include "account_paths.h"
#include "product/product_paths.h"
#include "qel/tools/accounts.h"
#include "user_entry.h"

namespace qel::tools {
namespace {

constexpr size_t kFirstBufferSize = 4096;
// ERANGE retries for one call, all names together: the fifth stops the doubling.
constexpr int kRetryStop = 5;

}  // namespace

result_t ReadLoggedNames(const char* path, std::set<std::string>& names) {
  if (utmpname(path) != 0) {
    return orv::ResultFromErrno(static_cast<uint32_t>(errno));
  }
  setutent();
  utmp record{};
  utmp* read = nullptr;
  while (getutent_r(&record, &read) == 0 && read != nullptr) {
    if (read->ut_type == USER_PROCESS) {
      names.emplace(read->ut_user, strnlen(read->ut_user, sizeof(read->ut_user)));
    }
  }
  endutent();
  return orv::errors::kOk;
}

result_t GetLoggedUsers(const UserGroupInfo& groups, std::vector<QelUser>& users) {
  users.clear();
  std::set<std::string> names;
  const result_t result = ReadLoggedNames(product::kUtmpPath, names);
  if (ORV_FAILED(result)) {
    return result;
  }
  std::vector<char> buffer(kFirstBufferSize);
  int retries = 0;
  for (const std::string& name : names) {
    passwd entry{};
    passwd* found = nullptr;
    int error = getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
    // The buffer keeps its grown size for the names that follow.
    while (error == ERANGE && ++retries < kRetryStop) {
      buffer.resize(buffer.size() * 2);
      error = getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
    }
    if (error != 0 || found == nullptr) {
      continue;
    }
    // No uid filter: a system account that logged in is a user here.
    users.push_back(accounts::UserFromEntry(*found, groups));
  }
  return orv::errors::kOk;
}

}  // namespace qel::tools
