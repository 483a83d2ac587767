#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

#include <nlohmann/json.hpp>

namespace module_host {

// What every store of the machine holds now, read back from the stores (module-host's store
// report), as an aligned table: one row a store, whether it holds `certificate`.
// Returns how many rows hold it or are product files and links.
size_t PrintStoreTable(const std::vector<uint8_t>& certificate, std::ostream& out);
// The same for rows of the store report already read.
size_t PrintStoreRows(const nlohmann::json& rows, std::ostream& out);

}  // namespace module_host
