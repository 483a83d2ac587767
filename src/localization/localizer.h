#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "qel/tools/localization.h"
#include "text_catalog.h"

namespace localization {

// The library's own view of its localisers: LocalizeTemplate asks a localiser for this interface
// and leaves the page as it is when a localiser does not have it. Private to the library.
struct ILocalizerTexts : localization_manager::ILocalizer {
  static constexpr uint32_t kIid = 0x5c1e0a7d;
  // Slot 3: the text of `key`, or null; valid while the object lives.
  virtual const std::string* FindText(std::string_view key) = 0;

 protected:
  ~ILocalizerTexts() = default;
};

// One text domain in one language. Reference counted; made by CreateLocalizer with one reference
// and freed by its last Release. Any thread; no lock (the catalogue never changes).
class Localizer final : public ILocalizerTexts {
 public:
  explicit Localizer(std::shared_ptr<const TextCatalog> catalog);
  Localizer(const Localizer&) = delete;
  Localizer& operator=(const Localizer&) = delete;

  // orv::IObject
  uint32_t AddRef() override;
  uint32_t Release() override;
  result_t QueryInterface(uint32_t iid, void** object) override;

  // ILocalizerTexts
  const std::string* FindText(std::string_view key) override;

 private:
  ~Localizer() = default;

  std::atomic<uint32_t> m_references{1};
  const std::shared_ptr<const TextCatalog> m_catalog;
};

}  // namespace localization
