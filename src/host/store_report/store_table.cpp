#include "store_table.h"

#include <iomanip>
#include <string>

#include <nlohmann/json.hpp>

#include "store_report.h"

namespace module_host {

size_t PrintStoreTable(const std::vector<uint8_t>& certificate, std::ostream& out) {
  return PrintStoreRows(ReportStores(certificate), out);
}

size_t PrintStoreRows(const nlohmann::json& rows, std::ostream& out) {
  size_t width = 0;
  for (const nlohmann::json& row : rows) {
    width = std::max(width, row.value("path", std::string("-")).size());
  }
  out << "  " << std::left << std::setw(6) << "root" << std::setw(18) << "store"
      << std::setw(static_cast<int>(width) + 2) << "path"
      << "contents\n";
  size_t marked = 0;
  for (const nlohmann::json& row : rows) {
    const std::string kind = row.value("kind", std::string());
    const std::string path = row["path"].is_string() ? row["path"].get<std::string>() : "-";
    const bool product = kind == "anchor" || kind == "link" || kind == "hash link";
    const bool holds = row.value("holds", false) || product;
    marked += holds ? 1 : 0;
    std::string contents;
    if (row.contains("certificates")) {
      contents = std::to_string(row["certificates"].get<size_t>()) + " certificates";
    } else if (row.contains("entries")) {
      contents = std::to_string(row["entries"].get<size_t>()) + " entries";
    } else if (row.contains("target")) {
      contents = "-> " + row["target"].get<std::string>();
    } else if (row.contains("present")) {
      contents = row["present"].get<bool>() ? "present" : "absent";
    } else if (kind == "anchor directory") {
      contents = "no product file";
    }
    out << "  " << std::setw(6) << (holds ? "yes" : "-") << std::setw(18) << kind
        << std::setw(static_cast<int>(width) + 2) << path << contents << '\n';
  }
  return marked;
}

}  // namespace module_host
