#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "host/host_object.h"
#include "qel/task_manager.h"

namespace host {

// The host's tasks, as its configuration sets them: FindTask answers with the first task of the
// asked type. Any thread; m_mutex guards the task list and the counters.
class TaskManager final : public HostObject<qel::IQelTaskManager> {
 public:
  TaskManager() = default;

  // Replaces the configured tasks.
  void Configure(std::vector<qel::TaskInfo> tasks);
  // Changes the state of the task `id`; false when there is none.
  bool SetState(uint64_t id, qel::TaskState::Type state);

  // qel::IQelTaskManager
  result_t Reserved3() override;
  result_t FindTask(const orv::types::string16_t& taskType, qel::TaskInfo& task,
                    const qel::TaskCallerInfo& caller) override;

  // For tests: how often FindTask was asked, and a result to answer instead (0 to answer again).
  uint64_t requests() const;
  void FailWith(result_t result);

 private:
  mutable std::mutex m_mutex;  // guards everything below
  std::vector<qel::TaskInfo> m_tasks;
  uint64_t m_requests = 0;
  result_t m_failure = 0;
};

}  // namespace host
