#pragma once

#include <cstdint>

#include "orv/object.h"

namespace qel {

// What the host knows of one process.
struct ProcessInformation {
  int32_t pid = 0;
  uint32_t uid = 0;        // the real user id of the process
  uint64_t uniquePid = 0;  // the host's id: never 0, never reused while the host runs
};

static_assert(sizeof(ProcessInformation) == 16);

// One process as the host's process manager gives it out.
struct IProcessInformation : orv::IObject {
  // Slot 3: fills `processInfo`.
  virtual result_t GetInformation(ProcessInformation& processInfo) = 0;

 protected:
  ~IProcessInformation() = default;
};

// The host's processes.
struct IProcessManager : orv::IObject {
  static constexpr uint32_t kIid = 0x476789db;
  // Slot 3: the process `pid`, one reference in *process; 0x8000004c and null when unknown.
  virtual result_t GetInformation(int32_t pid, IProcessInformation** process) = 0;
  // Slot 4: the process by the host's unique id; as slot 3.
  virtual result_t GetInformationByUniqueId(uint64_t uniquePid,
                                            IProcessInformation** processInformation) = 0;

 protected:
  ~IProcessManager() = default;
};

}  // namespace qel
