#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "component/traffic_processing/protocollers/ssl/auto_excludes/auto_excludes.h"
#include "component/traffic_processing/traffic_monitor/updatable_excludes_view.h"
#include "host/host_object.h"

namespace host {

// The automatic exclusions of the SSL scanner: fixed host masks until cleared (or replaced by a
// test). Any thread; m_mutex guards the list, the counters and the failure switch.
class AutoExcludesView final
    : public HostObject<traffic_processing::protocollers::ssl::auto_excludes::IAutoExcludesView> {
 public:
  // "auto-excluded.example.com", "*.pinned.example.org".
  AutoExcludesView();

  void SetExcludes(std::vector<std::u16string> excludes);
  std::vector<std::u16string> Excludes() const;

  // IAutoExcludesView
  result_t GetSslExcludes(qel::ssl::Excludes& excludes) override;
  result_t ClearSslExcludes() override;

  uint64_t gets() const;
  uint64_t clears() const;
  // Both operations answer `result` from now on (0 to answer again).
  void FailWith(result_t result);

 private:
  mutable std::mutex m_mutex;  // guards everything below
  std::vector<std::u16string> m_excludes;
  uint64_t m_gets = 0;
  uint64_t m_clears = 0;
  result_t m_failure = 0;
};

// The traffic monitor's exclusions: a host and five narrowing texts each. By default three entries,
// the middle one narrowed by a text (so not a plain host exclusion). Any thread; m_mutex guards
// all.
class UpdatableExcludesView final
    : public HostObject<traffic_processing::traffic_monitor::IUpdatableExcludesView> {
 public:
  using Entry = std::array<std::u16string, 6>;

  UpdatableExcludesView();

  void SetExcludes(std::vector<Entry> excludes);

  // IUpdatableExcludesView
  result_t GetSslExcludes(
      orv::types::vector_t<traffic_processing::traffic_monitor::TrafmonSslExclude>& sslExcludes)
      override;

  uint64_t gets() const;
  void FailWith(result_t result);

 private:
  mutable std::mutex m_mutex;  // guards everything below
  std::vector<Entry> m_excludes;
  uint64_t m_gets = 0;
  result_t m_failure = 0;
};

}  // namespace host
