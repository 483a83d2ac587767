// Random pages through the `$key$` pass. What must hold for any page: without known keys nothing
// changes; with known keys whose texts hold no '$' and no key character, each replacement takes a
// whole mark out, so the page loses exactly two '$' per mark worded and gains the texts.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "template_marks.h"

namespace {

void Require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view page(reinterpret_cast<const char*>(data), size);

  size_t unknown = 0;
  const std::string same = localization::ReplaceMarks(
      page, [](std::string_view) -> const std::string* { return nullptr; }, unknown);
  Require(same == page);
  Require(unknown <= static_cast<size_t>(std::count(page.begin(), page.end(), '$')));

  // Every key of one or two characters is known and worded as "#".
  static const std::string kText = "#";
  size_t worded = 0;
  const std::string result = localization::ReplaceMarks(
      page,
      [&worded](std::string_view key) -> const std::string* {
        if (key.size() <= 2) {
          ++worded;
          return &kText;
        }
        return nullptr;
      },
      unknown);
  const auto dollars = [](std::string_view text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '$'));
  };
  Require(dollars(result) + 2 * worded == dollars(page));
  Require(std::count(result.begin(), result.end(), '#') ==
          std::count(page.begin(), page.end(), '#') + static_cast<std::ptrdiff_t>(worded));
  return 0;
}
