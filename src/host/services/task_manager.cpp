#include "host/task_manager.h"

#include <utility>

namespace host {

void TaskManager::Configure(std::vector<qel::TaskInfo> tasks) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_tasks = std::move(tasks);
}

bool TaskManager::SetState(uint64_t id, qel::TaskState::Type state) {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (qel::TaskInfo& task : m_tasks) {
    if (task.id == id) {
      task.state = state;
      return true;
    }
  }
  return false;
}

result_t TaskManager::Reserved3() { return orv::errors::kNotImplemented; }

result_t TaskManager::FindTask(const orv::types::string16_t& taskType, qel::TaskInfo& task,
                               const qel::TaskCallerInfo& caller) {
  std::lock_guard<std::mutex> lock(m_mutex);
  ++m_requests;
  if (ORV_FAILED(m_failure)) {
    return m_failure;
  }
  for (const qel::TaskInfo& candidate : m_tasks) {
    if (candidate.type == taskType) {
      task = candidate;
      return orv::errors::kOk;
    }
  }
  return orv::errors::kNotFound;
}

uint64_t TaskManager::requests() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_requests;
}

void TaskManager::FailWith(result_t result) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_failure = result;
}

}  // namespace host
