#include "host/process_manager.h"

#include <fstream>
#include <sstream>
#include <string>

#include "host/proc_records.h"

namespace host {
namespace {

constexpr const char* kProcRoot = "/proc/";

// A procfs file's text; empty when it cannot be read (the process is gone).
std::string ReadRecord(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// One process's answer: what the manager read when it was asked.
class ProcessInformationObject final : public HostObject<qel::IProcessInformation> {
 public:
  explicit ProcessInformationObject(const qel::ProcessInformation& information)
      : m_information(information) {}

  // qel::IProcessInformation
  result_t GetInformation(qel::ProcessInformation& processInfo) override {
    processInfo = m_information;
    return orv::errors::kOk;
  }

 private:
  const qel::ProcessInformation m_information;
};

}  // namespace

bool ProcessManager::Read(int32_t pid, uint32_t& uid, uint64_t& startTime) const {
  if (pid <= 0) {
    return false;
  }
  const std::string directory = kProcRoot + std::to_string(pid);
  return StartTimeFromStat(ReadRecord(directory + "/stat"), startTime) &&
         UidFromStatus(ReadRecord(directory + "/status"), uid);
}

result_t ProcessManager::Answer(int32_t pid, uint32_t uid, uint64_t startTime,
                                qel::IProcessInformation** process) {
  qel::ProcessInformation information;
  information.pid = pid;
  information.uid = uid;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    const ProcessKey key{pid, startTime};
    auto found = m_uniqueIds.find(key);
    if (found == m_uniqueIds.end()) {
      found = m_uniqueIds.emplace(key, m_nextUniquePid++).first;
      m_byUniqueId.emplace(found->second, key);
    }
    information.uniquePid = found->second;
    ++m_found;
  }
  *process = new ProcessInformationObject(information);
  return orv::errors::kOk;
}

result_t ProcessManager::GetInformation(int32_t pid, qel::IProcessInformation** process) {
  *process = nullptr;
  uint32_t uid = 0;
  uint64_t startTime = 0;
  if (!Read(pid, uid, startTime)) {
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_missed;
    return orv::errors::kNotFound;
  }
  return Answer(pid, uid, startTime, process);
}

result_t ProcessManager::GetInformationByUniqueId(uint64_t uniquePid,
                                                  qel::IProcessInformation** processInformation) {
  *processInformation = nullptr;
  ProcessKey key{0, 0};
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_byUniqueId.find(uniquePid);
    if (found != m_byUniqueId.end()) {
      key = found->second;
    }
  }
  uint32_t uid = 0;
  uint64_t startTime = 0;
  // The process must still be the one that got the id: same pid, same start.
  if (key.pid == 0 || !Read(key.pid, uid, startTime) || startTime != key.startTime) {
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_missed;
    return orv::errors::kNotFound;
  }
  return Answer(key.pid, uid, startTime, processInformation);
}

uint64_t ProcessManager::found() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_found;
}

uint64_t ProcessManager::missed() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_missed;
}

}  // namespace host
