#include <gtest/gtest.h>

#include "qel/tools/accounts.h"

namespace qel::tools {
namespace {

// The account tests see every membership on real group files, but root only without one: a
// membership takes root's administrator default away.
TEST(UsersRole, RootWithAMembership_OnlyThatRole) {
  UserGroupInfo groups;
  groups.users = {"root"};
  EXPECT_EQ(GetUsersRole("root", 0, groups), kRoleUser);
}

}  // namespace
}  // namespace qel::tools
