#pragma once

#include <string>

namespace qel::tcp_traffic_interceptor::cert_stores {

// What lies on disk for the database of a store path (see DatabaseDirectory), looked at with two
// stats and no NSS open.
enum class DatabaseFiles {
  kNone,      // neither "cert9.db" nor "key4.db": whoever opens it for writing makes it
  kPartial,   // one of them is missing or still empty: its creator is making it right now
  kComplete,  // both hold data: NSS can open it
};

// Links are followed, as NSS follows them. A file that cannot be looked at counts as missing.
DatabaseFiles FindDatabaseFiles(const std::string& storePath);

}  // namespace qel::tcp_traffic_interceptor::cert_stores
