#pragma once

#include <cstdint>
#include <tuple>
#include <vector>

#include "cert_stores/conversions/certificate.h"
#include "orv/result.h"
#include "qel/qel_user.h"
#include "qel/tools/files.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

using tools::NativePath;

// One NSS database: the path of its "cert9.db" file, or "/etc/pki/nssdb/" for the system one,
// and the owner of that file. Copied freely; a copy shares nothing.
//
// Reading goes through NSS in this process (a read-only context for the span of one read);
// writing never happens here: the cert-manager helper is started for each change.
struct Nss3Storage {
  NativePath path;
  uint32_t uid = 0;
  uint32_t gid = 0;

  // The DER bytes of every certificate of the database, in NSS's list order. 0x8000004c when NSS
  // gives no list, 0x8000004b for any other failure (a database that cannot be opened included).
  // Never throws.
  result_t GetCertificates(std::vector<RawCert>& certificates) const;
  // Drops from `certificates` what the database holds already (when it can be read), then starts
  // the helper with the rest; 0 without a start when nothing is left. kNss3DatabaseNotReady when
  // the program that made the database has not finished setting it up: nothing was written.
  result_t AddCertificatesToStore(std::vector<Certificate>& certificates) const;
  // Starts the helper to remove every certificate with the same bytes as one of the list.
  result_t DeleteCertificatesFromStore(const std::vector<Certificate>& certificates) const;
};

// Byte order of the path (shorter prefix first), then uid, then gid.
inline bool operator<(const Nss3Storage& left, const Nss3Storage& right) {
  return std::tie(left.path, left.uid, left.gid) < std::tie(right.path, right.uid, right.gid);
}
inline bool operator==(const Nss3Storage& left, const Nss3Storage& right) {
  return std::tie(left.path, left.uid, left.gid) == std::tie(right.path, right.uid, right.gid);
}

// The file name of a database and the system database's directory.
constexpr const char* kNss3DatabaseName = "cert9.db";
constexpr const char* kSystemNss3Path = "/etc/pki/nssdb/";
// A helper run still going after this long is stopped (SIGTERM to its process group, SIGKILL
// after the runner's grace) and the store fails with 0x8000004b: one database on a hung file
// system must not hold an install, and every lookup waiting on it, for ever.
constexpr uint64_t kCertManagerTimeLimitMs = 30'000;

// Not a failure: the database's maker (a browser's first start, `certutil -N`) is still between
// creating its files and giving its token a password. Nothing was written, since taking part in
// that set-up would change the password state it is about to choose; the next change of its
// "cert9.db" or "key4.db" is the time to ask again.
constexpr result_t kNss3DatabaseNotReady = orv::errors::kFalse;

// Every database of the machine and of all users, sorted, without duplicates. Never fails: what
// cannot be read is passed over.
std::vector<Nss3Storage> GetNss3Storages();
// The databases below one user's home (only inside the places of kStorePlaces, plus a "cert9.db"
// directly in the home), sorted, without duplicates. Follows no link.
std::vector<Nss3Storage> GetUserNss3Storages(const QelUser& user);
// 0 and `storage` filled when `path` is a regular file named "cert9.db"; 0x8000004b otherwise.
result_t MakeNss3Storage(const NativePath& path, Nss3Storage& storage);
// The home joined with each of the nine places, in order; the disk is not looked at.
std::vector<NativePath> GetWatchDirectories(const NativePath& home);
// The same for every account of the machine, in account order, duplicates kept.
std::vector<NativePath> GetWatchDirectories();

}  // namespace qel::tcp_traffic_interceptor::cert_stores
