#include "text_catalog.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

namespace localization {

TextCatalog::TextCatalog(const std::string& path) {
  boost::property_tree::ptree tree;
  try {
    boost::property_tree::ini_parser::read_ini(path, tree);
  } catch (const boost::property_tree::ini_parser_error& error) {
    throw std::runtime_error(error.what());
  }
  for (const auto& [key, node] : tree) {
    if (!node.empty()) {
      throw std::runtime_error(path + ": sections are not used, found [" + key + "]");
    }
    m_texts.emplace(key, node.data());
  }
}

const std::string* TextCatalog::Find(std::string_view key) const {
  const auto found = m_texts.find(std::string(key));
  return found == m_texts.end() ? nullptr : &found->second;
}

std::string LanguageDirectory(const std::string& language) {
  // The data are installed relative to the library, wherever the library itself lies.
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&LanguageDirectory), &info) == 0 ||
      info.dli_fname == nullptr) {
    throw std::runtime_error("the localisation library cannot find its own file");
  }
  const std::string library(info.dli_fname);
  const size_t slash = library.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : library.substr(0, slash);
  return folder + "/../share/localization/" + language;
}

std::shared_ptr<const TextCatalog> SharedCatalog(const std::string& language,
                                                 const std::string& name) {
  struct Loaded {
    struct stat identity {};
    std::shared_ptr<const TextCatalog> catalog;
  };
  static std::mutex mutex;
  static std::map<std::string, Loaded> loaded;
  const std::string path = LanguageDirectory(language) + "/" + name + ".ini";
  // A file replaced on disk is read again: one stat per localiser is all it costs.
  struct stat identity {};
  if (::stat(path.c_str(), &identity) != 0) {
    throw std::runtime_error("cannot find " + path);
  }
  const std::lock_guard<std::mutex> lock(mutex);
  Loaded& slot = loaded[path];
  if (!slot.catalog || slot.identity.st_dev != identity.st_dev ||
      slot.identity.st_ino != identity.st_ino || slot.identity.st_size != identity.st_size ||
      slot.identity.st_mtim.tv_sec != identity.st_mtim.tv_sec ||
      slot.identity.st_mtim.tv_nsec != identity.st_mtim.tv_nsec) {
    slot.catalog = std::make_shared<const TextCatalog>(path);
    slot.identity = identity;
  }
  return slot.catalog;
}

}  // namespace localization
