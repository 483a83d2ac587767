#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orv/result.h"

namespace qel::tools {

// A path in the machine's byte encoding.
using NativePath = std::string;

// Paths of this length and more are walked directory by directory.
constexpr size_t kLongPathLength = 4096;

// openat for a path of any length: a descriptor (close-on-exec is the caller's flag) or -1 with
// errno. A long path is opened step by step, each directory with O_DIRECTORY | O_CLOEXEC.
int OpenFile(int dirFd, const NativePath& path, int flags, mode_t mode = 0) noexcept;

// lstat for a path of any length. Results from errno; out of memory for the walk buffer.
result_t LStatPath(const NativePath& path, struct stat* statBuffer) noexcept;

// unlinkat (files only) for a path of any length, relative to dirFd or the current directory.
result_t RemoveFile(int dirFd, const NativePath& path) noexcept;
result_t RemoveFile(const NativePath& path) noexcept;

// The file, or its first `size` bytes when size is not -1, into `content`, cut to what was read.
result_t ReadFile(const NativePath& path, std::vector<uint8_t>& content, int64_t size = -1);

// write until every byte is gone; EINTR and EAGAIN repeat the call.
result_t WriteAll(int fd, const void* data, size_t size) noexcept;

// Writes `bytes` to path + ".tmp" (mode 0444), removes `path`, renames the temporary over it.
// Not atomic against readers: `path` is missing for a moment. No temporary is left on failure.
result_t WriteFileViaTemporary(const NativePath& path, std::string_view bytes);

// The target of /proc/self/exe; throws orv::CheckFailedException when it cannot be read.
std::string GetSelfPath();

// What follows the last '/'; the path itself when it has none.
std::string LastPathComponent(std::string_view path);

}  // namespace qel::tools
