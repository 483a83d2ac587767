#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <mutex>

#include "host/host_object.h"
#include "qel/process_manager.h"

namespace host {

// The machine's processes as the real procfs shows them: the process id, the real uid (first
// "Uid:" value of status) and a unique id that this manager assigns on the first look-up of a
// process and never gives again; a process is the pair of its id and its start time (field 22 of
// stat), so a reused pid gets a new unique id. Any thread; m_mutex guards the id maps.
class ProcessManager final : public HostObject<qel::IProcessManager> {
 public:
  ProcessManager() = default;

  // qel::IProcessManager
  result_t GetInformation(int32_t pid, qel::IProcessInformation** process) override;
  result_t GetInformationByUniqueId(uint64_t uniquePid,
                                    qel::IProcessInformation** processInformation) override;

  // Counters for tests: look-ups answered and look-ups of unknown processes.
  uint64_t found() const;
  uint64_t missed() const;

 private:
  struct ProcessKey {
    int32_t pid;
    uint64_t startTime;
    bool operator<(const ProcessKey& other) const {
      return pid != other.pid ? pid < other.pid : startTime < other.startTime;
    }
  };
  // Reads the process from procfs; false when it is not there.
  bool Read(int32_t pid, uint32_t& uid, uint64_t& startTime) const;
  result_t Answer(int32_t pid, uint32_t uid, uint64_t startTime,
                  qel::IProcessInformation** process);

  mutable std::mutex m_mutex;  // guards everything below
  uint64_t m_nextUniquePid = 1;
  std::map<ProcessKey, uint64_t> m_uniqueIds;
  std::map<uint64_t, ProcessKey> m_byUniqueId;
  uint64_t m_found = 0;
  uint64_t m_missed = 0;
};

}  // namespace host
