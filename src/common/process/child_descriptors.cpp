// Descriptor work of the child between fork and exec: system-call wrappers only, no allocation.
#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "child_steps.h"
#include "process_paths.h"
#include "qel/tools/kernel_release.h"
#include "qel/tools/process_runner.h"

#ifndef SYS_close_range
#define SYS_close_range 436
#endif

namespace qel::tools {
namespace {

// Decided once at load: close_range came with 5.9.
const bool kHasCloseRange = GetLinuxKernelRelease(nullptr) >= KernelRelease{-1, -1, 9, 5};

// The record layout that getdents64 writes.
struct LinuxDirent64 {
  uint64_t d_ino;
  int64_t d_off;
  unsigned short d_reclen;
  unsigned char d_type;
  char d_name[1];
};

}  // namespace

bool KernelHasCloseRange() { return kHasCloseRange; }

void CloseOtherDescriptorsByListing() noexcept {
  const int directory = open(process::kProcSelfFd, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0) {
    return;  // without the listing nothing is closed and the start goes on
  }
  alignas(8) char block[4096];
  for (;;) {
    const long length = syscall(SYS_getdents64, directory, block, sizeof(block));
    if (length <= 0) {
      break;
    }
    for (long offset = 0; offset < length;) {
      const auto* entry = reinterpret_cast<const LinuxDirent64*>(block + offset);
      offset += entry->d_reclen;
      char* end = nullptr;
      const long fd = std::strtol(entry->d_name, &end, 10);
      if (end == entry->d_name || *end != '\0') {
        continue;  // "." and ".."
      }
      if (fd > 2 && fd != directory) {
        close(static_cast<int>(fd));
      }
    }
  }
  close(directory);
}

void CloseOtherDescriptors() noexcept {
  if (kHasCloseRange && syscall(SYS_close_range, 3u, ~0u, 0u) == 0) {
    return;
  }
  CloseOtherDescriptorsByListing();
}

int GetDescriptorTableSize() noexcept {
  FILE* status = std::fopen(process::kProcSelfStatus, "re");
  if (status == nullptr) {
    return 0;
  }
  const int size = DescriptorTableSizeFromStatus(status);
  std::fclose(status);
  return size;
}

int DescriptorTableSizeFromStatus(FILE* status) noexcept {
  int size = 0;
  char line[256];
  while (std::fgets(line, sizeof(line), status) != nullptr) {
    constexpr char kKey[] = "FDSize:";
    if (std::strncmp(line, kKey, sizeof(kKey) - 1) == 0) {
      if (std::sscanf(line + sizeof(kKey) - 1, "%d", &size) != 1) {
        size = 0;
      }
      break;
    }
  }
  return size;
}

namespace process {

bool RedirectDescriptor(int target, int source, int flags, int* otherA, int* otherB) noexcept {
  if (source < 0) {
    source = open(kDevNull, flags);
    if (source < 0) {
      return false;
    }
  }
  if (source != target) {
    // A descriptor still needed for a later slot may sit at target: move it away first.
    if ((otherA != nullptr && *otherA == target) || (otherB != nullptr && *otherB == target)) {
      const int copy = dup(target);
      if (copy < 0) {
        return false;
      }
      if (otherA != nullptr && *otherA == target) {
        *otherA = copy;
      }
      if (otherB != nullptr && *otherB == target) {
        *otherB = copy;
      }
    }
    if (dup2(source, target) < 0) {
      return false;
    }
  }
  const int statusFlags = fcntl(target, F_GETFL);
  if (statusFlags < 0 || fcntl(target, F_SETFL, statusFlags & ~O_NONBLOCK) < 0) {
    return false;
  }
  // The mask is O_CLOEXEC's value, not FD_CLOEXEC's: the descriptor flags stay as they are.
  // dup2 has already cleared close-on-exec on a moved descriptor.
  const int descriptorFlags = fcntl(target, F_GETFD);
  if (descriptorFlags < 0 || fcntl(target, F_SETFD, descriptorFlags & ~0x80000) < 0) {
    return false;
  }
  return true;
}

}  // namespace process
}  // namespace qel::tools
