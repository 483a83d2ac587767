#pragma once

#include <utmp.h>

#include <cstdint>
#include <string>
#include <vector>

#include "sandbox/store_layout.h"

namespace host::sandbox {

// An account of the sandboxed machine; root (home /root) is always there.
struct Account {
  std::string name;
  uint32_t uid;
  std::string home;
};

// Inside a private mount namespace only: the store layout, account files listing `accounts`
// (plain files, no role groups), tmpfs over /home, /root and /var/run with an empty login record
// file, and the build's product tree at /opt/morvane/tolm. Homes are created empty.
void BuildMachine(StoreLayout layout, const std::vector<Account>& accounts);
// Rewrites the account file with root and `accounts` and makes their homes.
void WriteAccounts(const std::vector<Account>& accounts);

// A fresh NSS database in `directory` (made with its parents) by certutil; the path of its
// cert9.db.
std::string MakeNssDatabase(const std::string& directory);
// The DER bytes of every certificate of the database in `directory`, read by certutil.
std::vector<std::vector<uint8_t>> NssCertificates(const std::string& directory);

// The certificates of a PEM bundle file, as DER.
std::vector<std::vector<uint8_t>> BundleCertificates(const std::string& path);
// How many times `der` is in the list.
size_t CountOf(const std::vector<std::vector<uint8_t>>& list, const std::vector<uint8_t>& der);

// Inside a private mount namespace only: a record of `type` for `user` on pts/`index` written
// into /var/run/utmp with the utmp calls, as a login does.
void LogIn(const std::string& user, int index, short type = USER_PROCESS);

}  // namespace host::sandbox
