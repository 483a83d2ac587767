#include "arguments.h"

#include <optional>
#include <stdexcept>
#include <string_view>

namespace qel::cert_manager {
namespace {

void SetOnce(std::optional<std::string>& slot, std::string_view option, const char* value) {
  if (slot) {
    throw std::invalid_argument(std::string(option) + " given twice");
  }
  if (value == nullptr) {
    throw std::invalid_argument(std::string(option) + " needs a value");
  }
  slot = value;
}

}  // namespace

HelperArguments ParseArguments(int argc, const char* const* argv) {
  std::optional<Action> action;
  std::optional<std::string> storePath;
  std::optional<std::string> certList;
  for (int index = 1; index < argc; ++index) {
    const std::string_view word = argv[index];
    const char* next = index + 1 < argc ? argv[index + 1] : nullptr;
    if (word == "--nss3-add" || word == "--nss3-delete") {
      if (action) {
        throw std::invalid_argument("more than one action");
      }
      action = word == "--nss3-add" ? Action::kAdd : Action::kDelete;
    } else if (word == "--nss3-path") {
      SetOnce(storePath, word, next);
      ++index;
    } else if (word == "--certlist") {
      SetOnce(certList, word, next);
      ++index;
    } else {
      throw std::invalid_argument("unknown argument " + std::string(word));
    }
  }
  if (!action) {
    throw std::invalid_argument("no action: --nss3-add or --nss3-delete");
  }
  if (!storePath || storePath->empty()) {
    throw std::invalid_argument("no --nss3-path");
  }
  if (!certList) {
    throw std::invalid_argument("no --certlist");
  }
  return HelperArguments{*action, *storePath, *certList};
}

const char* UsageText() {
  return "usage: cert-manager --nss3-add --nss3-path STORE --certlist LIST\n"
         "       cert-manager --nss3-delete --nss3-path STORE --certlist LIST\n"
         "STORE: a cert9.db file or a database directory ending in /\n"
         "LIST:  name:PEM items joined by ;\n";
}

}  // namespace qel::cert_manager
