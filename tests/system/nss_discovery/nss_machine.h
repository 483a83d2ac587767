#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "cert_stores/nss/nss3_storage.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
// Test output of a record, the path quoted with its odd bytes escaped.
std::ostream& operator<<(std::ostream& stream, const Nss3Storage& storage);
}  // namespace qel::tcp_traffic_interceptor::cert_stores

namespace nss_discovery_test {

// One line of the sandbox's account file.
struct Account {
  std::string name;
  uint32_t uid;
  std::string home;
};

// Everything below runs inside a private mount namespace only (tti::test::RunInMountNamespace).

// A tmpfs over /home, for the homes of the test.
void MountHomes();
// tmpfs over /etc and /var/run with an account file of `accounts` (gid = uid), no role groups,
// UID_MIN 1000, files-only name service, and a login record for each of `loggedIn`. Run programs
// such as certutil before this: the machine's /etc is gone afterwards.
void MountAccounts(const std::vector<Account>& accounts,
                   const std::vector<std::string>& loggedIn = {});

// mkdir -p; then the last directory gets `mode` and belongs to uid:uid.
void MakeDirectory(const std::string& path, uint32_t uid = 0, mode_t mode = 0755);
// A plain file with some bytes, owned by uid:gid.
void MakeFile(const std::string& path, uint32_t uid = 0, uint32_t gid = 0);
// A real, empty NSS database (cert9.db, key4.db, pkcs11.txt) made by certutil in `directory`
// (created if needed), every file owned by uid:uid.
void MakeDatabase(const std::string& directory, uint32_t uid);
void MakeLink(const std::string& target, const std::string& path);
void MakeFifo(const std::string& path);

// Runs `walk` in a forked child that has dropped to uid:gid (no supplementary groups) and gives
// back the strings it returned; a failure of the child fails the calling test.
std::vector<std::string> RunAs(uint32_t uid, uint32_t gid,
                               const std::function<std::vector<std::string>()>& walk);

// The number of descriptors this process has open.
size_t OpenDescriptorCount();

}  // namespace nss_discovery_test
