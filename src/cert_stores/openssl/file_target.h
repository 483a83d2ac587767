#pragma once

#include <cstdint>
#include <vector>

#include "orv/result.h"
#include "qel/tools/files.h"
#include "qel/tools/unique_fd.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

using tools::NativePath;

// Text up to the last '/', that '/' kept only when it is the first character.
NativePath ParentOf(const NativePath& path);

// The output file of a store rewrite: a temporary (mode 0644) in `directory`. When `directory` is
// no directory lstat can see, the path itself is opened, which fails for a link to a directory and
// so leaves the store alone. The destructor removes the temporary unless it was renamed (path
// emptied) and closes the descriptor. Construction and Write throw std::runtime_error.
struct FileTarget {
  NativePath path;
  tools::UniqueFd fd;
  uint64_t offset = 0;
  static constexpr mode_t kMode = 0644;

  explicit FileTarget(const NativePath& directory);
  FileTarget(const FileTarget&) = delete;
  FileTarget& operator=(const FileTarget&) = delete;
  ~FileTarget();

  // pwrite at the offset until every byte is written, then fdatasync.
  void Write(const std::vector<uint8_t>& bytes);
};

// Renames the temporary over the resolved `file` with the old file's mode and owner: readers see
// the old or the new file, never a mix. Errors from errno.
result_t ReplaceWithTarget(FileTarget& target, const NativePath& file);

// `bytes` through a temporary beside the file `path` resolves to, renamed over it with its mode and
// owner. Errors from errno or the exception's result; the old file stays on every failure.
result_t ReplaceResolvedFile(const NativePath& path, const std::vector<uint8_t>& bytes);

}  // namespace qel::tcp_traffic_interceptor::cert_stores
