// The database name NSS is given for a store path, at the edges real stores do not reach.
#include "cert_stores/nss/nss_context.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

TEST(NssDatabaseName, StorePaths_SqlAndTheDirectory) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"/etc/pki/nssdb/", "sql:/etc/pki/nssdb"},
      {"/home/alice/.pki/nssdb/cert9.db", "sql:/home/alice/.pki/nssdb"},
      {"/cert9.db", "sql:/"},
      {"relative/cert9.db", "sql:relative"},
      {"cert9.db", "sql:"},
      {"", "sql:"},
  };
  for (const auto& [path, name] : cases) {
    EXPECT_EQ(NssDatabaseName(path), name) << path;
  }
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores
