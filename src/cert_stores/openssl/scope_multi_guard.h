#pragma once

#include <functional>
#include <utility>
#include <vector>

namespace qel::tcp_traffic_interceptor::cert_stores {

// Rollback actions of one operation, run last first at destruction unless Release() committed
// them. An action that throws while the guard unwinds terminates the process: the actions only
// remove files this operation made.
class ScopeMultiGuard final {
 public:
  using Action = std::function<void()>;

  ScopeMultiGuard() = default;
  ScopeMultiGuard(const ScopeMultiGuard&) = delete;
  ScopeMultiGuard& operator=(const ScopeMultiGuard&) = delete;
  ~ScopeMultiGuard() noexcept {
    for (auto action = m_actions.rbegin(); action != m_actions.rend(); ++action) {
      (*action)();  // an empty slot throws std::bad_function_call, which ends the process here
    }
  }

  void Add(Action action) { m_actions.push_back(std::move(action)); }
  // The commit: the actions are dropped without running.
  void Release() noexcept { m_actions.clear(); }
  size_t Size() const noexcept { return m_actions.size(); }

 private:
  std::vector<Action> m_actions;
};

}  // namespace qel::tcp_traffic_interceptor::cert_stores
