#pragma once

#include <cstdint>

#include "orv/object.h"
#include "orv/string.h"
#include "qel/enums/task_state.h"
#include "qel/user_info.h"

namespace qel {

// A task of the product as the task manager shows it.
struct TaskInfo {
  uint64_t id = 0;
  orv::types::string16_t name;
  orv::types::string16_t type;
  TaskState::Type state = TaskState::Unknown;
};

static_assert(sizeof(TaskInfo) == 112);

// Who asks the task manager.
struct TaskCallerInfo {
  UserInfo user;
  uint32_t value1 = 0;
  uint32_t value2 = 0;
  uint32_t value3 = 0;
};

static_assert(sizeof(TaskCallerInfo) == 72);

// The host's tasks.
struct IQelTaskManager : orv::IObject {
  static constexpr uint32_t kIid = 0x887632c7;
  // Slot 3: reserved; 0x80000043.
  virtual result_t Reserved3() = 0;
  // Slot 4: 0 and `task` filled when a task of `taskType` exists, in any state; 0x8000004c and
  // `task` untouched when none does.
  virtual result_t FindTask(const orv::types::string16_t& taskType, TaskInfo& task,
                            const TaskCallerInfo& caller) = 0;

 protected:
  ~IQelTaskManager() = default;
};

}  // namespace qel
