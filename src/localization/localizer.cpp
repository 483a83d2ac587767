#include "localizer.h"

#include <utility>

namespace localization {

Localizer::Localizer(std::shared_ptr<const TextCatalog> catalog) : m_catalog(std::move(catalog)) {}

uint32_t Localizer::AddRef() { return m_references.fetch_add(1) + 1; }

uint32_t Localizer::Release() {
  const uint32_t count = m_references.fetch_sub(1) - 1;
  if (count == 0) {
    delete this;
  }
  return count;
}

result_t Localizer::QueryInterface(uint32_t iid, void** object) {
  if (iid != 0 && iid != ILocalizerTexts::kIid) {
    *object = nullptr;
    return orv::errors::kNoInterface;
  }
  *object = static_cast<ILocalizerTexts*>(this);
  AddRef();
  return 0;
}

const std::string* Localizer::FindText(std::string_view key) { return m_catalog->Find(key); }

}  // namespace localization
