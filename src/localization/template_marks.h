#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace localization {

// Gives the text of a key, or null when the key is unknown.
using KeyLookup = std::function<const std::string*(std::string_view key)>;

// `page` with every mark `$key$` (key: letters, digits, underscores) whose key `lookup` knows
// replaced by its text, left to right, never looking into an inserted text. An unknown mark stays,
// and its closing '$' may open the next mark; `unknown` counts the unknown marks.
std::string ReplaceMarks(std::string_view page, const KeyLookup& lookup, size_t& unknown);

}  // namespace localization
