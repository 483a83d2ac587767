#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <boost/algorithm/string/join.hpp>

#include "process_paths.h"
#include "qel/tools/process_runner.h"

namespace qel::tools {
namespace {

// PATH of the search directories, then pointers into environ: the values at the first use.
struct EnvironmentTable {
  EnvironmentTable()
      : path("PATH=" +
             boost::algorithm::join(std::vector<std::string>(process::kSearchDirectories.begin(),
                                                             process::kSearchDirectories.end()),
                                    ":")) {
    entries.push_back(path.c_str());
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
      const char* equals = std::strchr(*entry, '=');
      if (equals == nullptr) {
        continue;
      }
      const std::string_view name(*entry, static_cast<size_t>(equals - *entry) + 1);
      if (std::find(process::kPassedVariables.begin(), process::kPassedVariables.end(), name) !=
          process::kPassedVariables.end()) {
        entries.push_back(*entry);
      }
    }
    entries.push_back(nullptr);
  }

  const std::string path;
  std::vector<const char*> entries;
};

}  // namespace

const char* const* DefaultEnvironment() {
  static const EnvironmentTable table;
  return table.entries.data();
}

}  // namespace qel::tools
