// The database name NSS is given for a store path, and the context on a database that is not there.
#include "cert_stores/nss/nss_context.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/scratch.h"

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

TEST(NssContext, OpenFailure_CannotInitWithStorePath) {
  const tti::test::TempDir scratch;
  const std::string path = scratch / "missing/cert9.db";
  try {
    const NssContext context(path, true);
    FAIL() << "opened " << path;
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(std::string(error.what()), "Cannot init " + path);
  }
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores
