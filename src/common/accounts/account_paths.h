#pragma once

#include <cstdint>

namespace qel::tools::accounts {

// The account data of the machine (the login records are product::kUtmpPath). Tests put other
// files here in a private mount namespace.
constexpr const char* kPasswdPath = "/etc/passwd";
constexpr const char* kLoginDefsPath = "/etc/login.defs";

constexpr const char* kUidMinKey = "UID_MIN";
constexpr uint64_t kDefaultUidMin = 1000;

// The role groups of the group database.
constexpr const char* kAdminGroup = "tolmadmin";
constexpr const char* kUserGroup = "tolmuser";
constexpr const char* kAuditGroup = "tolmaudit";
constexpr const char* kNoRoleGroup = "notolm";

// Buffer of one reentrant account look-up.
constexpr size_t kEntryBufferSize = 16384;

}  // namespace qel::tools::accounts
