#pragma once

#include <pwd.h>

#include "qel/tools/accounts.h"

namespace qel::tools::accounts {

// The account of one entry of the account database, with its role from `groups`.
inline QelUser UserFromEntry(const passwd& entry, const UserGroupInfo& groups) {
  QelUser user;
  user.name = entry.pw_name;
  user.home = entry.pw_dir;
  user.uid = entry.pw_uid;
  user.gid = entry.pw_gid;
  user.role = GetUsersRole(user.name, user.uid, groups);
  return user;
}

}  // namespace qel::tools::accounts
