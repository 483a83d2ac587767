// The database name NSS is given for a store path, and the scoped context on real databases.
#include "cert_stores/nss/nss_context.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cert_stores/nss/nss3_storage.h"
#include "support/cert_factory.h"
#include "support/nss_test_db.h"

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
  const tti::test::ScratchDirectory scratch;
  const std::string path = scratch.Path() + "/missing/cert9.db";
  try {
    const NssContext context(path, true);
    FAIL() << "opened " << path;
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(std::string(error.what()), "Cannot init " + path);
  }
}

// Each read shuts NSS down behind it: the next read of another database sees that database, not
// the one before.
TEST(NssContext, ReadsInTurn_EachSeesItsOwnDatabase) {
  const tti::test::ScratchDirectory scratch;
  const std::string first = scratch.MakeFolder("first");
  const std::string second = scratch.MakeFolder("second");
  tti::test::CreateNssDatabase(first);
  tti::test::CreateNssDatabase(second);
  const tti::test::TestCertificate one = tti::test::MakeRootCertificate("tti context one");
  const tti::test::TestCertificate two = tti::test::MakeRootCertificate("tti context two");
  tti::test::AddWithCertutil(first, one, "one", "C,,");
  tti::test::AddWithCertutil(second, two, "two", "C,,");

  for (int round = 0; round < 2; ++round) {
    std::vector<RawCert> listed;
    ASSERT_EQ((Nss3Storage{first + "/cert9.db", 0, 0}.GetCertificates(listed)), 0);
    EXPECT_EQ(listed, std::vector<RawCert>{one.Der()});
    listed.clear();
    ASSERT_EQ((Nss3Storage{second + "/", 0, 0}.GetCertificates(listed)), 0);
    EXPECT_EQ(listed, std::vector<RawCert>{two.Der()});
  }
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores
