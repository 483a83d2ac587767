#pragma once

#include <cstdint>
#include <optional>
#include <tuple>

#include "qel/tools/files.h"

namespace qel::tcp_traffic_interceptor {

// What a store's file looked like at its last read or at our own last write: a store whose stamp
// is the same is not read again.
struct FileStamp {
  uint64_t device = 0;
  uint64_t inode = 0;
  int64_t size = 0;
  int64_t modifiedSeconds = 0;
  int64_t modifiedNanoseconds = 0;
};

inline bool operator==(const FileStamp& left, const FileStamp& right) {
  return std::tie(left.device, left.inode, left.size, left.modifiedSeconds,
                  left.modifiedNanoseconds) == std::tie(right.device, right.inode, right.size,
                                                        right.modifiedSeconds,
                                                        right.modifiedNanoseconds);
}

// One stat of `path` (links followed); nothing when it cannot be had (a file that is gone).
std::optional<FileStamp> ReadFileStamp(const tools::NativePath& path);

// A store's stamp: one file for a bundle or a keystore, the two files of an NSS database.
struct StoreStamp {
  std::optional<FileStamp> main;
  std::optional<FileStamp> keys;
};

inline bool operator==(const StoreStamp& left, const StoreStamp& right) {
  return left.main == right.main && left.keys == right.keys;
}
inline bool operator!=(const StoreStamp& left, const StoreStamp& right) { return !(left == right); }

// A file of the NSS database whose cert9.db path (or the system one's directory) is `path`.
inline tools::NativePath DatabaseFile(const tools::NativePath& path, const char* name) {
  return path.substr(0, path.rfind('/') + 1) + name;
}

}  // namespace qel::tcp_traffic_interceptor
