#pragma once

#include <cstdint>

#include "orv/object.h"
#include "orv/optional.h"
#include "qel/process_manager.h"
#include "qel/user_info.h"

namespace qel::tools {

// The look-ups through the host's IProcessManager, got from the locator for each call. None of
// them fails the caller: a process that is gone is traced and gives nothing.

// The process id of the host's unique process id; `pid` stays as it was when the look-up fails.
void GetPid(orv::IServiceLocator* sl, uint64_t uniquePid, int32_t& pid);
// The host's information of the process `pid`.
result_t GetProcessInfo(orv::IServiceLocator* sl, int32_t pid, ProcessInformation& info);
// The owner of the process `pid` with the account's name; empty when either cannot be found.
orv::optional_t<UserInfo> GetUserByPid(orv::IServiceLocator* sl, int32_t pid);

}  // namespace qel::tools
