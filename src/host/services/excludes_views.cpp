#include "host/excludes_views.h"

#include <utility>

namespace host {

namespace tm = ::traffic_processing::traffic_monitor;

AutoExcludesView::AutoExcludesView()
    : m_excludes{u"auto-excluded.example.com", u"*.pinned.example.org"} {}

void AutoExcludesView::SetExcludes(std::vector<std::u16string> excludes) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_excludes = std::move(excludes);
}

std::vector<std::u16string> AutoExcludesView::Excludes() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_excludes;
}

result_t AutoExcludesView::GetSslExcludes(qel::ssl::Excludes& excludes) {
  std::vector<std::u16string> copy;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_gets;
    if (m_failure != 0) {
      return m_failure;
    }
    copy = m_excludes;
  }
  // The caller's container keeps its allocator; only its contents are replaced.
  excludes.clear();
  excludes.reserve(copy.size());
  for (const std::u16string& exclude : copy) {
    excludes.emplace_back(std::u16string_view(exclude));
  }
  return 0;
}

result_t AutoExcludesView::ClearSslExcludes() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  ++m_clears;
  if (m_failure != 0) {
    return m_failure;
  }
  m_excludes.clear();
  return 0;
}

uint64_t AutoExcludesView::gets() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_gets;
}

uint64_t AutoExcludesView::clears() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_clears;
}

void AutoExcludesView::FailWith(result_t result) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_failure = result;
}

UpdatableExcludesView::UpdatableExcludesView()
    : m_excludes{Entry{u"bank.example.com"}, Entry{u"shop.example.com", u"/checkout"},
                 Entry{u"*.update.example.net"}} {}

void UpdatableExcludesView::SetExcludes(std::vector<Entry> excludes) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_excludes = std::move(excludes);
}

result_t UpdatableExcludesView::GetSslExcludes(
    orv::types::vector_t<tm::TrafmonSslExclude>& sslExcludes) {
  std::vector<Entry> copy;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_gets;
    if (m_failure != 0) {
      return m_failure;
    }
    copy = m_excludes;
  }
  sslExcludes.clear();
  sslExcludes.reserve(copy.size());
  for (const Entry& entry : copy) {
    tm::TrafmonSslExclude exclude;
    exclude.host = std::u16string_view(entry[0]);
    exclude.extra1 = std::u16string_view(entry[1]);
    exclude.extra2 = std::u16string_view(entry[2]);
    exclude.extra3 = std::u16string_view(entry[3]);
    exclude.extra4 = std::u16string_view(entry[4]);
    exclude.extra5 = std::u16string_view(entry[5]);
    sslExcludes.push_back(std::move(exclude));
  }
  return 0;
}

uint64_t UpdatableExcludesView::gets() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_gets;
}

void UpdatableExcludesView::FailWith(result_t result) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_failure = result;
}

}  // namespace host
