#include <gtest/gtest.h>

#include "qel/tools/accounts.h"

namespace qel::tools {
namespace {

struct RoleCase {
  const char* name;
  uint32_t uid;
  uint32_t role;
};

class UsersRole : public testing::TestWithParam<RoleCase> {};

TEST_P(UsersRole, FromMembership) {
  UserGroupInfo groups;
  groups.admins = {"admin", "all", "excluded"};
  groups.users = {"user", "all"};
  groups.auditors = {"auditor", "all"};
  groups.noRole = {"excluded", "rootless"};
  EXPECT_EQ(GetUsersRole(GetParam().name, GetParam().uid, groups), GetParam().role);
}

INSTANTIATE_TEST_SUITE_P(
    Memberships, UsersRole,
    testing::Values(RoleCase{"nobody-special", 0, kRoleAdministrator},
                    RoleCase{"nobody-special", 1000, kRoleUser},
                    RoleCase{"admin", 1000, kRoleAdministrator},
                    RoleCase{"user", 0, kRoleUser},  // membership takes the root default away
                    RoleCase{"auditor", 1000, kRoleAuditor},
                    RoleCase{"all", 1000, kRoleAdministrator | kRoleUser | kRoleAuditor},
                    RoleCase{"excluded", 1000, 0}, RoleCase{"rootless", 0, 0}));

}  // namespace
}  // namespace qel::tools
