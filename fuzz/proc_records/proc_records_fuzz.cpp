// Random text as a process's stat and status records: the host's readers and the descriptor table
// size of the process runner answer or refuse, never throw or read past the text.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "host/proc_records.h"
#include "qel/tools/process_runner.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  uint64_t startTime = 0;
  uint32_t uid = 0;
  (void)host::StartTimeFromStat(text, startTime);
  (void)host::UidFromStatus(text, uid);
  if (FILE* status = fmemopen(const_cast<uint8_t*>(data), size, "r")) {
    (void)qel::tools::DescriptorTableSizeFromStatus(status);
    std::fclose(status);
  }
  return 0;
}
