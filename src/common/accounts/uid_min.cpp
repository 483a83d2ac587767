#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "account_paths.h"
#include "qel/tools/accounts.h"

namespace qel::tools {

uint64_t GetUidMin() {
  std::ifstream file(accounts::kLoginDefsPath);
  if (!file) {
    return accounts::kDefaultUidMin;
  }
  return UidMinFromStream(file);
}

uint64_t UidMinFromStream(std::istream& file) {
  std::string line;
  while (std::getline(file, line)) {
    // Only a "#" in the first column starts a comment; an indented one is an ordinary token.
    if (line.empty() || line[0] == '#') {
      continue;
    }
    std::istringstream tokens(line);
    std::string key;
    std::string value;
    tokens >> key >> value;
    if (key != accounts::kUidMinKey || value.empty()) {
      continue;
    }
    char* end = nullptr;
    errno = 0;
    const unsigned long uidMin = std::strtoul(value.c_str(), &end, 10);
    // A value with anything behind the digits, or past 64 bits, did not convert: the next
    // UID_MIN line may be good.
    if (end == value.c_str() + value.size() && errno != ERANGE) {
      return uidMin;
    }
  }
  return accounts::kDefaultUidMin;
}

}  // namespace qel::tools
