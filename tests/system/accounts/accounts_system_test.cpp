#include <gtest/gtest.h>
#include <utmp.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/capturing_tracer.h"
#include "host/host_object.h"
#include "qel/tools/accounts.h"
#include "support/machine.h"

namespace qel::tools {
namespace {

using EtcFiles = std::map<std::string, std::string>;
using Logins = std::vector<std::pair<std::string, short>>;

// `body` in a private mount namespace whose /etc holds `etc` and whose utmp holds `logins`.
void RunOnMachine(const EtcFiles& etc, const Logins& logins, const std::function<void()>& body) {
  tti::test::RunInMountNamespace([&] {
    tti::test::MountEtc(etc);
    for (size_t index = 0; index < logins.size(); ++index) {
      tti::test::LogIn(logins[index].first, static_cast<int>(index), logins[index].second);
    }
    body();
  });
}

std::string Entry(const std::string& name, uint32_t uid, const std::string& gecos = "") {
  return name + ":x:" + std::to_string(uid) + ":" + std::to_string(uid) + ":" + gecos + ":/home/" +
         name + ":/bin/sh\n";
}

struct UidMinCase {
  const char* name;
  const char* loginDefs;  // null: no file
  uint64_t expected;
};

std::ostream& operator<<(std::ostream& stream, const UidMinCase& c) { return stream << c.name; }

class UidMin : public testing::TestWithParam<UidMinCase> {};

TEST_P(UidMin, ReadFromLoginDefs) {
  EtcFiles etc;
  if (GetParam().loginDefs != nullptr) {
    etc["login.defs"] = GetParam().loginDefs;
  }
  RunOnMachine(etc, {}, [this] { EXPECT_EQ(GetUidMin(), GetParam().expected); });
}

INSTANTIATE_TEST_SUITE_P(
    Files, UidMin,
    testing::Values(UidMinCase{"NoFile", nullptr, 1000},
                    UidMinCase{"Blanks", "UID_MIN     500\n", 500},
                    UidMinCase{"Tab", "UID_MIN\t\t600\n", 600},
                    UidMinCase{"FirstGoodWins", "UID_MIN 12a\nUID_MIN\nUID_MIN 700\nUID_MIN 9\n",
                               700},
                    UidMinCase{"OnlyExactKey", "UID_MINIMUM 5\n", 1000},
                    UidMinCase{"CommentInFirstColumn", "#UID_MIN 5\n\nUID_MIN 800\n", 800},
                    UidMinCase{"NoGoodValue", "UID_MIN 1x\n", 1000}),
    [](const testing::TestParamInfo<UidMinCase>& info) { return std::string(info.param.name); });

QelUser User(const char* name, uint32_t uid, uint32_t role) {
  return QelUser{name, std::string("/home/") + name, uid, uid, role};
}

const EtcFiles kMachine = {
    {"login.defs", "UID_MIN 1000\n"},
    {"passwd", Entry("toor", 0) + Entry("sys", 5) + Entry("low", 999) + Entry("carol", 1500) +
                   Entry("alice", 1000) + Entry("bob", 1001)},
    {"group",
     "tolmadmin:x:2001:alice,bob,carol\ntolmuser:x:2002:carol\n"
     "tolmaudit:x:2003:carol\nnotolm:x:2004:bob\n"}};

const Logins kLogins = {{"alice", USER_PROCESS},
                        {"alice", USER_PROCESS},
                        {"sys", USER_PROCESS},
                        {"ghost", USER_PROCESS},
                        {"low", LOGIN_PROCESS}};

TEST(Accounts, LoggedAndLocal_MergedWithRoles) {
  RunOnMachine(kMachine, kLogins, [] {
    const UserGroupInfo groups = GetUserGroupInfo();
    std::vector<QelUser> logged;
    EXPECT_EQ(GetLoggedUsers(groups, logged), 0);
    // Once per name; a system account that logged in counts; no account, no record.
    EXPECT_EQ(logged, (std::vector<QelUser>{User("alice", 1000, kRoleAdministrator),
                                            User("sys", 5, kRoleUser)}));
    EXPECT_EQ(GetAllUsers(GetUidMin(), groups),
              (std::vector<QelUser>{User("alice", 1000, kRoleAdministrator), User("bob", 1001, 0),
                                    User("carol", 1500, 7), User("sys", 5, kRoleUser),
                                    User("toor", 0, kRoleAdministrator)}));
  });
}

// Root only without a membership: a membership takes root's administrator default away.
TEST(Accounts, RootWithAMembership_OnlyThatRole) {
  UserGroupInfo groups;
  groups.users = {"root"};
  EXPECT_EQ(GetUsersRole("root", 0, groups), kRoleUser);
}

TEST(Accounts, NoLoginRecordsOrGroups_LocalAccountsAsUsers) {
  EtcFiles etc = kMachine;
  etc.erase("group");
  RunOnMachine(etc, {}, [] {
    EXPECT_EQ(GetAllUsers(GetUidMin(), GetUserGroupInfo()),
              (std::vector<QelUser>{User("alice", 1000, kRoleUser), User("bob", 1001, kRoleUser),
                                    User("carol", 1500, kRoleUser),
                                    User("toor", 0, kRoleAdministrator)}));
  });
}

// The look-up buffer starts at 4096 bytes and doubles on ERANGE; the fifth retry of the whole
// call stops. The files service reads the lines before the one it looks for into the same buffer:
// alpha needs 32 KiB (3 retries), beta 128 KiB (2 more: the fifth stops), gamma alone 64 KiB
// (4 retries).
TEST(Accounts, LongEntries_RetriesCountedForWholeCall) {
  const EtcFiles etc = {{"passwd", Entry("alpha", 1000, std::string(20000, 'a')) +
                                       Entry("gamma", 1002, std::string(40000, 'c')) +
                                       Entry("beta", 1001, std::string(100000, 'b'))}};
  RunOnMachine(etc, {{"alpha", USER_PROCESS}, {"beta", USER_PROCESS}}, [] {
    std::vector<QelUser> logged;
    EXPECT_EQ(GetLoggedUsers(UserGroupInfo{}, logged), 0);
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0].name, "alpha");
  });
  RunOnMachine(etc, {{"gamma", USER_PROCESS}}, [] {
    std::vector<QelUser> logged;
    EXPECT_EQ(GetLoggedUsers(UserGroupInfo{}, logged), 0);
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0].name, "gamma");
  });
}

TEST(Accounts, NamesAndUids_FoundOrMissing) {
  const EtcFiles etc = {{"passwd", Entry("toor", 0) + Entry("alice", 1000)}};
  RunOnMachine(etc, {}, [] {
    std::string name = "stale";
    // uid 0 is "root" without a look-up, whatever the account file calls it.
    EXPECT_EQ(GetUserName(0, name), 0);
    EXPECT_EQ(name, "root");
    EXPECT_EQ(GetUserName(1000, name), 0);
    EXPECT_EQ(name, "alice");
    EXPECT_EQ(GetUserName(4242, name), orv::errors::kNotFound);
    EXPECT_EQ(name, "");

    UserInfo info;
    EXPECT_EQ(GetUserInfo(1000, info), 0);
    EXPECT_EQ(info.uid, 1000u);
    EXPECT_TRUE(info.name == orv::types::string16_t(u"alice"));
    EXPECT_EQ(GetUserInfo(4242, info), orv::errors::kUnspecified);

    const auto tracer = host::MakeObject<host::CapturingTracer>();
    uint32_t uid = 77;
    EXPECT_EQ(GetUidByName(tracer.get(), "alice", uid), 0);
    EXPECT_EQ(uid, 1000u);
    EXPECT_EQ(GetUidByName(tracer.get(), "nobody-here", uid), orv::errors::kNotFound);
    EXPECT_TRUE(tracer->Lines().empty());
  });
}

// An entry longer than the 16 KiB buffer makes the look-up itself fail (ERANGE).
TEST(Accounts, LookupFails_UnspecifiedAndTraced) {
  const EtcFiles etc = {{"passwd", Entry("huge", 1003, std::string(20000, 'h'))}};
  RunOnMachine(etc, {}, [] {
    std::string name = "stale";
    EXPECT_EQ(GetUserName(1003, name), orv::errors::kUnspecified);
    EXPECT_EQ(name, "");

    const auto tracer = host::MakeObject<host::CapturingTracer>();
    uint32_t uid = 77;
    EXPECT_EQ(GetUidByName(tracer.get(), "huge", uid), orv::errors::kUnspecified);
    EXPECT_EQ(uid, 77u);
    const std::vector<std::string> errors = tracer->Texts(300);
    ASSERT_EQ(errors.size(), 1u);
    const std::string tail =
        "(ent != nullptr),(ORV_SUCCEEDED(_result)) failed: result = 0x8000004b (Unspecified "
        "error) Failed to lookup user huge in database: Numerical result out of range";
    EXPECT_NE(errors[0].find("user_names.cpp:"), std::string::npos) << errors[0];
    EXPECT_EQ(errors[0].substr(errors[0].size() - std::min(errors[0].size(), tail.size())), tail);
  });
}

}  // namespace
}  // namespace qel::tools
