#include "qel/tools/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "orv/check.h"
#include "qel/tools/unique_fd.h"

namespace qel::tools {
namespace {

result_t FromErrno() noexcept { return orv::ResultFromErrno(static_cast<uint32_t>(errno)); }

// Closes a directory of the walk unless it is the caller's, keeping errno across the close.
void CloseStep(int fd, int callerFd) noexcept {
  if (fd != callerFd && fd >= 0) {
    const int saved = errno;
    ::close(fd);
    errno = saved;
  }
}

// The kernel refuses paths of PATH_MAX bytes and more, so a long path is opened piece by piece:
// each piece ends at the last '/' of the next 4095 bytes (or after them all) and is opened as a
// directory relative to the piece before. `call(fd, rest)` then works on the remainder.
// -1 with errno when a step fails; -2 when the buffer cannot be had.
template <class Call>
int WalkPath(int dirFd, const NativePath& path, Call call) noexcept {
  if (dirFd == AT_FDCWD && path.size() < kLongPathLength) {
    return call(dirFd, path.c_str());
  }
  std::unique_ptr<char[]> buffer(new (std::nothrow) char[kLongPathLength]);
  if (!buffer) {
    return -2;
  }
  int current = dirFd;
  size_t position = 0;
  while (path.size() - position >= kLongPathLength) {
    const char* start = path.data() + position;
    const auto* slash = static_cast<const char*>(::memrchr(start, '/', kLongPathLength - 1));
    size_t pieceLength = kLongPathLength - 1;
    size_t advance = pieceLength;
    if (slash != nullptr) {
      pieceLength = static_cast<size_t>(slash - start);
      advance = pieceLength + 1;
    }
    if (pieceLength == 0) {
      // A '/' at the very start of the piece: the piece is that directory itself.
      std::strcpy(buffer.get(), position == 0 ? "/" : ".");
    } else {
      std::memcpy(buffer.get(), start, pieceLength);
      buffer[pieceLength] = '\0';
    }
    const int next = ::openat(current, buffer.get(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    CloseStep(current, dirFd);
    if (next < 0) {
      return -1;
    }
    current = next;
    position += advance;
  }
  const int result = call(current, path.c_str() + position);
  CloseStep(current, dirFd);
  return result;
}

}  // namespace

int OpenFile(int dirFd, const NativePath& path, int flags, mode_t mode) noexcept {
  const int fd = WalkPath(
      dirFd, path, [&](int at, const char* rest) { return ::openat(at, rest, flags, mode); });
  if (fd == -2) {
    errno = ENOMEM;
    return -1;
  }
  return fd;
}

result_t LStatPath(const NativePath& path, struct stat* statBuffer) noexcept {
  const int result = WalkPath(AT_FDCWD, path, [&](int at, const char* rest) {
    return ::fstatat(at, rest, statBuffer, AT_SYMLINK_NOFOLLOW);
  });
  if (result == -2) {
    return orv::errors::kOutOfMemory;
  }
  return result == 0 ? orv::errors::kOk : FromErrno();
}

result_t RemoveFile(int dirFd, const NativePath& path) noexcept {
  const int result =
      WalkPath(dirFd, path, [](int at, const char* rest) { return ::unlinkat(at, rest, 0); });
  if (result == -2) {
    return orv::errors::kOutOfMemory;
  }
  return result == 0 ? orv::errors::kOk : FromErrno();
}

result_t RemoveFile(const NativePath& path) noexcept { return RemoveFile(AT_FDCWD, path); }

result_t ReadFile(const NativePath& path, std::vector<uint8_t>& content, int64_t size) {
  UniqueFd fd(OpenFile(AT_FDCWD, path, O_RDONLY | O_CLOEXEC));
  if (!fd) {
    return FromErrno();
  }
  if (size == -1) {
    struct stat status {};
    if (::fstat(fd.Get(), &status) != 0) {
      return FromErrno();
    }
    size = status.st_size;
  }
  content.assign(static_cast<size_t>(size), 0);
  size_t done = 0;
  while (done < content.size()) {
    const ssize_t count = ::read(fd.Get(), content.data() + done, content.size() - done);
    if (count == 0) {
      break;
    }
    if (count < 0) {
      if (errno == EINTR || errno == EAGAIN) {
        continue;
      }
      return FromErrno();
    }
    done += static_cast<size_t>(count);
  }
  content.resize(done);
  return orv::errors::kOk;
}

result_t WriteAll(int fd, const void* data, size_t size) noexcept {
  const auto* bytes = static_cast<const uint8_t*>(data);
  while (size > 0) {
    const ssize_t count = ::write(fd, bytes, size);
    if (count < 0) {
      if (errno == EINTR || errno == EAGAIN) {
        continue;
      }
      return FromErrno();
    }
    bytes += count;
    size -= static_cast<size_t>(count);
  }
  return orv::errors::kOk;
}

result_t WriteFileViaTemporary(const NativePath& path, std::string_view bytes) {
  const NativePath temporary = path + ".tmp";
  UniqueFd fd(OpenFile(AT_FDCWD, temporary, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0444));
  if (!fd) {
    return FromErrno();
  }
  const result_t written = WriteAll(fd.Get(), bytes.data(), bytes.size());
  fd.Reset();
  if (ORV_FAILED(written)) {
    RemoveFile(temporary);
    return written;
  }
  // Removed first on purpose: a reader may find `path` missing for a moment.
  RemoveFile(path);
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    const result_t failure = FromErrno();
    RemoveFile(temporary);
    return failure;
  }
  return orv::errors::kOk;
}

std::string GetSelfPath() {
  std::string buffer(256, '\0');
  for (;;) {
    const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    ORV_CHECK(length >= 0, "cannot read /proc/self/exe");
    if (static_cast<size_t>(length) < buffer.size()) {
      buffer.resize(static_cast<size_t>(length));
      return buffer;
    }
    buffer.resize(buffer.size() * 2);
  }
}

std::string LastPathComponent(std::string_view path) {
  const size_t slash = path.rfind('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

}  // namespace qel::tools
