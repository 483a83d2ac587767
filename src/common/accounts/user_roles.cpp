#include <grp.h>

#include <vector>

#include "account_paths.h"
#include "qel/tools/accounts.h"

namespace qel::tools {
namespace {

std::unordered_set<std::string> GroupMembers(const char* group) {
  std::unordered_set<std::string> members;
  std::vector<char> buffer(accounts::kEntryBufferSize);
  struct group entry {};
  struct group* found = nullptr;
  if (getgrnam_r(group, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return members;
  }
  for (char** member = found->gr_mem; *member != nullptr; ++member) {
    members.emplace(*member);
  }
  return members;
}

}  // namespace

UserGroupInfo GetUserGroupInfo() {
  UserGroupInfo info;
  info.admins = GroupMembers(accounts::kAdminGroup);
  info.users = GroupMembers(accounts::kUserGroup);
  info.auditors = GroupMembers(accounts::kAuditGroup);
  info.noRole = GroupMembers(accounts::kNoRoleGroup);
  return info;
}

uint32_t GetUsersRole(const std::string& name, uint32_t uid, const UserGroupInfo& groups) {
  if (groups.noRole.count(name) != 0) {
    return 0;
  }
  uint32_t role = 0;
  if (groups.admins.count(name) != 0) {
    role |= kRoleAdministrator;
  }
  if (groups.users.count(name) != 0) {
    role |= kRoleUser;
  }
  if (groups.auditors.count(name) != 0) {
    role |= kRoleAuditor;
  }
  if (role == 0) {
    role = uid == 0 ? kRoleAdministrator : kRoleUser;
  }
  return role;
}

}  // namespace qel::tools
