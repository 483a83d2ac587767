#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <set>

#include "cert_stores/nss/nss3_storage.h"
#include "cert_stores/nss/store_search_iterator.h"
#include "qel/tools/accounts.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

// A store is a regular file named exactly "cert9.db": a link of that name (to a database or
// anywhere) is not, nor is a directory or a FIFO, which is never opened.
result_t StorageFromStatus(const NativePath& path, const char* name, const struct stat& status,
                           Nss3Storage& storage) {
  if (!S_ISREG(status.st_mode) || std::strcmp(name, kNss3DatabaseName) != 0) {
    return orv::errors::kUnspecified;
  }
  storage.path = path;
  storage.uid = status.st_uid;
  storage.gid = status.st_gid;
  return orv::errors::kOk;
}

}  // namespace

std::vector<Nss3Storage> GetNss3Storages() {
  std::set<Nss3Storage> stores;
  // The final '/' makes lstat succeed only for a directory or a link to one. Whether a database
  // lies in it is not asked.
  struct stat status {};
  if (ORV_SUCCEEDED(tools::LStatPath(kSystemNss3Path, &status))) {
    stores.insert(Nss3Storage{kSystemNss3Path, 0, 0});
  }
  const uint64_t minUid = tools::GetUidMin();
  const tools::UserGroupInfo groups = tools::GetUserGroupInfo();
  for (const QelUser& user : tools::GetAllUsers(minUid, groups)) {
    for (Nss3Storage& storage : GetUserNss3Storages(user)) {
      stores.insert(std::move(storage));
    }
  }
  return {stores.begin(), stores.end()};
}

std::vector<Nss3Storage> GetUserNss3Storages(const QelUser& user) {
  std::set<Nss3Storage> stores;
  for (StoreSearchIterator walk(user.home); walk.Valid(); walk.Next()) {
    // Only a "cert9.db" can be a store: other names need no lstat.
    if (std::strcmp(walk.Name(), kNss3DatabaseName) != 0) {
      continue;
    }
    struct stat status {};
    Nss3Storage storage;
    if (walk.LStat(status) &&
        ORV_SUCCEEDED(StorageFromStatus(walk.Path(), walk.Name(), status, storage))) {
      stores.insert(std::move(storage));
    }
  }
  return {stores.begin(), stores.end()};
}

result_t MakeNss3Storage(const NativePath& path, Nss3Storage& storage) {
  const std::string name = tools::LastPathComponent(path);
  struct stat status {};
  if (ORV_FAILED(tools::LStatPath(path, &status))) {
    return orv::errors::kUnspecified;
  }
  return StorageFromStatus(path, name.c_str(), status, storage);
}

std::vector<NativePath> GetWatchDirectories(const NativePath& home) {
  std::vector<NativePath> directories;
  directories.reserve(kStorePlaces.size());
  for (std::string_view place : kStorePlaces) {
    directories.push_back((std::filesystem::path(home) / place).string());
  }
  return directories;
}

std::vector<NativePath> GetWatchDirectories() {
  const uint64_t minUid = tools::GetUidMin();
  const tools::UserGroupInfo groups = tools::GetUserGroupInfo();
  std::vector<NativePath> directories;
  for (const QelUser& user : tools::GetAllUsers(minUid, groups)) {
    for (NativePath& directory : GetWatchDirectories(user.home)) {
      directories.push_back(std::move(directory));
    }
  }
  return directories;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores
