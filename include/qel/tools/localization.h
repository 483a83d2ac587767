#pragma once

// The localisation library (liblocalization.so). The module finds these three functions by their
// C++ names, so namespaces, parameter types and the template heads of the value types are part of
// the binary interface and must not change.

#include <string>

#include "orv/intrusive_ptr.h"
#include "orv/object.h"
#include "orv/string.h"
#include "orv/tracer.h"
#include "orv/vector.h"

#define QEL_LOCALIZATION_API __attribute__((visibility("default")))

namespace localization_manager {

// Words the `$key$` marks of one text domain in the language of one process. The module calls no
// operation of its own on it; the library asks its objects for their texts privately.
struct ILocalizer : orv::IObject {
 protected:
  ~ILocalizer() = default;
};

}  // namespace localization_manager

namespace qel {

// A message number of the product's message catalogue.
enum class Msg : unsigned int {};

namespace TranslationInnards {
// The text of `message` (a boost::format pattern that may hold "%1%"). Throws std::out_of_range
// for a message the catalogue lacks, std::runtime_error when the catalogue cannot be read.
QEL_LOCALIZATION_API std::string Tr(qel::Msg message, unsigned int flags);
}  // namespace TranslationInnards

namespace tools {

// A localiser for the process `uniqPid` and `textDomain`, with one reference in `localizer` (an
// earlier one is released). A negative code with `localizer` empty when the domain's texts cannot
// be read. `locator` is not kept.
QEL_LOCALIZATION_API result_t CreateLocalizer(
    orv::IServiceLocator* locator, unsigned long uniqPid, const orv::types::string16_t& textDomain,
    orv::intrusive_ptr<localization_manager::ILocalizer>& localizer);

// A copy of `html` in which every `$key$` that `localizer` knows is replaced by its text; unknown
// marks stay as they are, and a null localiser changes nothing. Fails only by std::bad_alloc.
// `tracer` may be null.
QEL_LOCALIZATION_API orv::types::vector_t<unsigned char> LocalizeTemplate(
    const orv::types::vector_t<unsigned char>& html, localization_manager::ILocalizer* localizer,
    orv::ITracer* tracer);

}  // namespace tools
}  // namespace qel
