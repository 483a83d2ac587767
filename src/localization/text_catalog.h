#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

namespace localization {

// The texts of one file, key to text, read whole at construction and never changed, so any number
// of threads may read one catalogue at once.
class TextCatalog final {
 public:
  // Reads an INI file of `key = text` lines (no sections). Throws std::runtime_error when the file
  // cannot be read or parsed.
  explicit TextCatalog(const std::string& path);

  // The text of `key`, or null.
  const std::string* Find(std::string_view key) const;

 private:
  std::unordered_map<std::string, std::string> m_texts;
};

// The folder of the language `language` beside this library: <library folder>/../share/
// localization/<language>/. Throws std::runtime_error when the library cannot find itself.
std::string LanguageDirectory(const std::string& language);

// The catalogue of `name` (file <name>.ini) in `language`, shared, read again only when the file
// changed (device, inode, size, modification time). Throws as the constructor does.
std::shared_ptr<const TextCatalog> SharedCatalog(const std::string& language,
                                                 const std::string& name);

}  // namespace localization
