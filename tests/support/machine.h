#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "sandbox/machine.h"
#include "support/namespace_sandbox.h"

// The synthetic machine under the tests' names, and what only tests build on it: an /etc of
// their own, files and folders owned by users, work done as a user.
namespace tti::test {

using host::sandbox::Account;
using host::sandbox::LogIn;
using host::sandbox::MakeNssDatabase;

// Inside a private mount namespace only: tmpfs over /etc holding a files-only nsswitch.conf and
// `files` by name ("passwd", "group", "login.defs"), and over /var/run with an empty utmp. Make
// NSS databases before: certutil needs the machine's /etc.
void MountEtc(const std::map<std::string, std::string>& files);
// The account file's lines for `accounts` (gid = uid).
std::string PasswdLines(const std::vector<Account>& accounts);

// mkdir -p; then the last directory gets `mode` and belongs to uid:uid.
void MakeDirectory(const std::string& path, uint32_t uid = 0, mode_t mode = 0755);
// A plain file with some bytes, owned by uid:gid.
void MakeFile(const std::string& path, uint32_t uid = 0, uint32_t gid = 0);
// A certutil-made database in `directory` (made if needed); the folder and its files belong to
// uid:uid.
void MakeNssDatabaseOf(const std::string& directory, uint32_t uid);
// The nine places watched for new profiles in each of `homes`, in order (an empty home: the
// working directory's).
std::vector<std::string> WatchedPlaces(const std::vector<std::string>& homes);
// Gives a path and everything below it to uid:gid, links themselves included.
void ChangeOwner(const std::string& top, uid_t uid, gid_t gid);

}  // namespace tti::test
