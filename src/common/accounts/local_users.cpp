#include <pwd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <tuple>

#include "account_paths.h"
#include "qel/tools/accounts.h"
#include "user_entry.h"

namespace qel::tools {
namespace {

struct FileCloser {
  void operator()(FILE* file) const noexcept { std::fclose(file); }
};

}  // namespace

std::vector<QelUser> GetLocalUsers(uint64_t minUid, const UserGroupInfo& groups) {
  std::vector<QelUser> users;
  // "e": the stream's descriptor must not reach a child started meanwhile by another thread.
  const std::unique_ptr<FILE, FileCloser> file(std::fopen(accounts::kPasswdPath, "re"));
  if (!file) {
    return users;
  }
  return LocalUsersFromFile(file.get(), minUid, groups);
}

std::vector<QelUser> LocalUsersFromFile(FILE* file, uint64_t minUid, const UserGroupInfo& groups) {
  std::vector<QelUser> users;
  std::vector<char> buffer(accounts::kEntryBufferSize);
  passwd entry{};
  passwd* found = nullptr;
  // The file itself, not the name service: accounts of a directory service are not local.
  while (fgetpwent_r(file, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr) {
    // "+name" and "-name" lines only refer to a directory service (the C library leaves their
    // empty fields null): they are no local accounts.
    if (found->pw_name[0] == '+' || found->pw_name[0] == '-') {
      continue;
    }
    // Accounts between 1 and the minimum are system accounts, however they are set up.
    if (found->pw_uid != 0 && found->pw_uid < minUid) {
      continue;
    }
    users.push_back(accounts::UserFromEntry(*found, groups));
  }
  return users;
}

std::vector<QelUser> GetAllUsers(uint64_t minUid, const UserGroupInfo& groups) {
  std::vector<QelUser> users;
  // Without login records the local accounts are still the answer.
  (void)GetLoggedUsers(groups, users);
  std::vector<QelUser> local = GetLocalUsers(minUid, groups);
  users.insert(users.end(), std::make_move_iterator(local.begin()),
               std::make_move_iterator(local.end()));
  const auto key = [](const QelUser& user) { return std::tie(user.name, user.home); };
  std::stable_sort(users.begin(), users.end(),
                   [&](const QelUser& a, const QelUser& b) { return key(a) < key(b); });
  users.erase(std::unique(users.begin(), users.end(),
                          [&](const QelUser& a, const QelUser& b) { return key(a) == key(b); }),
              users.end());
  return users;
}

}  // namespace qel::tools
