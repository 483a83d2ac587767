#pragma once

#include <set>
#include <string>

namespace tti::test {

// The symbols `library` defines for dynamic linking, read with `nm -D --defined-only`; one that
// is not a function in the text section ("T") fails the calling test.
std::set<std::string> ExportedFunctions(const std::string& library);

}  // namespace tti::test
