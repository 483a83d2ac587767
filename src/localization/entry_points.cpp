// The three functions other binaries call; everything else in the library is hidden.

#include <cctype>
#include <exception>
#include <new>
#include <string>

#include "localizer.h"
#include "orv/trace_stream.h"
#include "qel/tools/localization.h"
#include "template_marks.h"
#include "text_catalog.h"

namespace {

// Only English texts are shipped, so every process is worded in English.
constexpr const char* kLanguage = "en";
constexpr const char* kMessageCatalog = "messages";

// A text domain names a file: letters, digits and underscores only, so that it cannot leave the
// language folder.
bool NarrowDomain(const orv::types::string16_t& domain, std::string& narrow) {
  for (const char16_t character : domain) {
    if (character > 0x7f || !(std::isalnum(character) || character == u'_')) {
      return false;
    }
    narrow.push_back(static_cast<char>(character));
  }
  return !narrow.empty();
}

}  // namespace

namespace qel {

std::string TranslationInnards::Tr(qel::Msg message, unsigned int /*flags*/) {
  const auto catalog = localization::SharedCatalog(kLanguage, kMessageCatalog);
  const std::string key = std::to_string(static_cast<unsigned int>(message));
  if (const std::string* text = catalog->Find(key)) {
    return *text;
  }
  throw std::out_of_range("no message " + key);
}

namespace tools {

result_t CreateLocalizer(orv::IServiceLocator* /*locator*/, unsigned long /*uniqPid*/,
                         const orv::types::string16_t& textDomain,
                         orv::intrusive_ptr<localization_manager::ILocalizer>& localizer) {
  localizer.reset();
  std::string domain;
  if (!NarrowDomain(textDomain, domain)) {
    return orv::errors::kInvalidArgument;
  }
  try {
    auto catalog = localization::SharedCatalog(kLanguage, domain);
    localizer = orv::intrusive_ptr<localization_manager::ILocalizer>::Attach(
        new localization::Localizer(std::move(catalog)));
    return 0;
  } catch (const std::bad_alloc&) {
    return orv::errors::kOutOfMemory;
  } catch (const std::exception&) {
    return orv::errors::kNotFound;
  }
}

orv::types::vector_t<unsigned char> LocalizeTemplate(
    const orv::types::vector_t<unsigned char>& html, localization_manager::ILocalizer* localizer,
    orv::ITracer* tracer) {
  orv::intrusive_ptr<localization::ILocalizerTexts> texts;
  if (localizer == nullptr ||
      ORV_FAILED(localizer->QueryInterface(localization::ILocalizerTexts::kIid,
                                           reinterpret_cast<void**>(texts.Ref())))) {
    ORV_TRACE(tracer, orv::trace_level::kWarning)
        << "LocalizeTemplate: no texts for this localizer, the page stays unlocalized";
    return html;
  }
  const std::string_view page(reinterpret_cast<const char*>(html.data()), html.size());
  size_t unknown = 0;
  const std::string worded = localization::ReplaceMarks(
      page, [&texts](std::string_view key) { return texts->FindText(key); }, unknown);
  if (unknown != 0) {
    ORV_TRACE(tracer, orv::trace_level::kDetail)
        << "LocalizeTemplate: " << static_cast<uint64_t>(unknown)
        << " unknown keys left as they are";
  }
  orv::types::vector_t<unsigned char> result;
  result.reserve(worded.size());
  for (const char byte : worded) {
    result.push_back(static_cast<unsigned char>(byte));
  }
  return result;
}

}  // namespace tools
}  // namespace qel
