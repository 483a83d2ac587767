#pragma once

#include <vector>

#include "qel/qel_user.h"
#include "qel/tools/accounts.h"

namespace qel::tcp_traffic_interceptor {

// The accounts with home directories, read afresh in the order every caller uses.
inline std::vector<QelUser> CurrentAccounts() {
  const uint64_t uidMin = tools::GetUidMin();
  const tools::UserGroupInfo groups = tools::GetUserGroupInfo();
  return tools::GetAllUsers(uidMin, groups);
}

}  // namespace qel::tcp_traffic_interceptor
