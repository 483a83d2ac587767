// Random login record files: no more names than whole records, each within the record's field.
#include <sys/mman.h>
#include <unistd.h>
#include <utmp.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>

#include "qel/tools/accounts.h"

namespace {

// One in-memory file for the whole run, named by its /proc path.
const int kFile = memfd_create("utmp", MFD_CLOEXEC);
const std::string kPath = "/proc/self/fd/" + std::to_string(kFile);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (ftruncate(kFile, 0) != 0 || pwrite(kFile, data, size, 0) != static_cast<ssize_t>(size)) {
    std::abort();
  }
  std::set<std::string> names;
  if (qel::tools::ReadLoggedNames(kPath.c_str(), names) != 0 ||
      names.size() > size / sizeof(utmp)) {
    std::abort();
  }
  for (const std::string& name : names) {
    if (name.size() > sizeof(utmp::ut_user) || name.find('\0') != std::string::npos) {
      std::abort();
    }
  }
  return 0;
}
