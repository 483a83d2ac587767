// Random text as a process's stat and status records: both readers answer or refuse, never throw.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/proc_records.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  uint64_t startTime = 0;
  uint32_t uid = 0;
  (void)host::StartTimeFromStat(text, startTime);
  (void)host::UidFromStatus(text, uid);
  return 0;
}
