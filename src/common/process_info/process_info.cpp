#include "qel/tools/process_info.h"

#include <pwd.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "orv/check.h"
#include "orv/intrusive_ptr.h"
#include "orv/service.h"
#include "orv/trace_stream.h"
#include "text_conversion.h"

namespace qel::tools {
namespace {

orv::intrusive_ptr<orv::ITracer> TracerOf(orv::IServiceLocator* sl) {
  orv::intrusive_ptr<orv::ITracer> tracer;
  orv::GetInterface(sl, tracer.Ref());
  return tracer;
}

// The account name of `uid`, or false.
bool FindUserName(uint32_t uid, std::string& name) {
  long size = sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || !found) {
    return false;
  }
  name = found->pw_name;
  return true;
}

}  // namespace

void GetPid(orv::IServiceLocator* sl, uint64_t uniquePid, int32_t& pid) {
  const orv::intrusive_ptr<orv::ITracer> tracer = TracerOf(sl);
  orv::ITracer* const tr = tracer.get();
  orv::intrusive_ptr<IProcessManager> processManager;
  if (ORV_FAILED(ORV_TRACE_IF_FAILED(tr, orv::GetInterface(sl, processManager.Ref()))
                 << "Failed to get IProcessManager")) {
    return;
  }
  orv::intrusive_ptr<IProcessInformation> processInformation;
  // The traced expression text is the call as written: keep it on one line.
  // clang-format off
  const result_t found =
      ORV_TRACE_IF_FAILED(tr, processManager->GetInformationByUniqueId(uniquePid, processInformation.Ref()))
      << "Failed to get IProcessInformation for uniquePid " << uniquePid;
  // clang-format on
  if (ORV_FAILED(found)) {
    return;
  }
  ProcessInformation informationOfProcess;
  if (ORV_FAILED(ORV_TRACE_IF_FAILED(tr, processInformation->GetInformation(informationOfProcess))
                 << "Failed to get ProcessInformation")) {
    return;
  }
  pid = informationOfProcess.pid;
  ORV_TRACE(tr, orv::trace_level::kDetail)
      << "GetPid"
      << ": "
      << "uniquePid " << uniquePid << " corresponds to pid " << pid;
}

result_t GetProcessInfo(orv::IServiceLocator* sl, int32_t pid, ProcessInformation& processInfo) {
  const orv::intrusive_ptr<orv::ITracer> tracer = TracerOf(sl);
  orv::intrusive_ptr<IProcessManager> manager;
  result_t result = ORV_TRACE_IF_FAILED(tracer.get(), orv::GetInterface(sl, manager.Ref()))
                    << "Cannot get IProcessManager interface";
  if (ORV_FAILED(result)) {
    return result;
  }
  orv::intrusive_ptr<IProcessInformation> process;
  result = ORV_TRACE_IF_FAILED(tracer.get(), manager->GetInformation(pid, process.Ref()))
           << "Cannot get IProcessInformation for pid: " << pid;
  if (ORV_FAILED(result)) {
    return result;
  }
  return ORV_TRACE_IF_FAILED(tracer.get(), process->GetInformation(processInfo))
         << "Cannot get info for pid: " << pid;
}

orv::optional_t<UserInfo> GetUserByPid(orv::IServiceLocator* sl, int32_t pid) {
  const orv::intrusive_ptr<orv::ITracer> tracer = TracerOf(sl);
  ProcessInformation info;
  if (ORV_FAILED(ORV_TRACE_IF_FAILED(tracer.get(), GetProcessInfo(sl, pid, info)))) {
    return {};
  }
  std::string name;
  if (!FindUserName(info.uid, name)) {
    return {};
  }
  UserInfo user;
  user.uid = info.uid;
  user.name = orv::types::string16_t(orv::WidenBytes(name));
  return orv::optional_t<UserInfo>(user);
}

}  // namespace qel::tools
