#pragma once

#include <cstdint>
#include <cstdio>
#include <iosfwd>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "orv/result.h"
#include "orv/tracer.h"
#include "qel/qel_user.h"
#include "qel/user_info.h"

namespace qel::tools {

// Members of the four role groups. A group that does not exist gives an empty set.
struct UserGroupInfo {
  std::unordered_set<std::string> admins;    // "tolmadmin"
  std::unordered_set<std::string> users;     // "tolmuser"
  std::unordered_set<std::string> auditors;  // "tolmaudit"
  std::unordered_set<std::string> noRole;    // "notolm"
};

// Nothing here is cached: every call reads the account data afresh. Callers use GetUidMin, then
// GetUserGroupInfo, then GetAllUsers.

// The first parsable UID_MIN of the login definitions, else 1000.
uint64_t GetUidMin();
// The same from login definitions read line by line from `file`.
uint64_t UidMinFromStream(std::istream& file);
// The members of the role groups from the group database.
UserGroupInfo GetUserGroupInfo();
// The role mask of an account: "notolm" gives 0, memberships give their bits, no membership gives
// administrator for uid 0 and user for anybody else.
uint32_t GetUsersRole(const std::string& name, uint32_t uid, const UserGroupInfo& groups);
// The accounts of the local account file with uid 0 or at least `minUid`; empty when the file
// cannot be read.
std::vector<QelUser> GetLocalUsers(uint64_t minUid, const UserGroupInfo& groups);
// The same from an account file open for reading, read with fgetpwent_r to its end.
std::vector<QelUser> LocalUsersFromFile(FILE* file, uint64_t minUid, const UserGroupInfo& groups);
// The accounts with a login record, each once, in name order, whatever their uid. Fails with the
// mapped errno when the login records cannot be named; `users` is then empty.
result_t GetLoggedUsers(const UserGroupInfo& groups, std::vector<QelUser>& users);
// The user names of the USER_PROCESS records of the login record file `path`, each once, read with
// the utmp calls (process-wide state, no lock). Fails with the mapped errno when the file cannot
// be named.
result_t ReadLoggedNames(const char* path, std::set<std::string>& names);
// Logged and local accounts, ordered by name, then home; one record per name and home.
std::vector<QelUser> GetAllUsers(uint64_t minUid, const UserGroupInfo& groups);
// The account name of `uid` ("root" for 0 without a look-up). 0x8000004c when there is no such
// account, 0x8000004b when the look-up failed; `name` is then empty.
result_t GetUserName(uint32_t uid, std::string& name);
// The uid of the account `name`: 0x8000004c when there is none, 0x8000004b (traced at level 300 to
// `tracer`, which may be null) when the look-up failed.
result_t GetUidByName(orv::ITracer* tracer, const std::string& name, uint32_t& uid);
// uid and name of `uid`; 0x8000004b when the name cannot be found.
result_t GetUserInfo(uint32_t uid, UserInfo& info);
// The same for the user of the calling process.
result_t GetCurrentUserInfo(UserInfo& info);

}  // namespace qel::tools
