// Debian's Chromium as the real client of a user's NSS database: it reads $HOME/.pki/nssdb when
// that directory exists and looks only at the "C" of the TLS column of the trust flags. It exits
// 0 whether or not it accepts the certificate, so the page it dumps and its error lines decide.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cert_stores/nss/nss3_storage.h"
#include "support/cert_factory.h"
#include "support/clean_command.h"
#include "support/local_https_server.h"
#include "support/namespace_sandbox.h"
#include "support/nss_test_db.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

constexpr char kHome[] = "/home/tti-user";
constexpr char kDatabase[] = "/home/tti-user/.pki/nssdb";

struct PageLoad {
  bool loaded = false;            // the server's "ok" is in the page
  bool authorityInvalid = false;  // Chromium said the issuer is unknown
};

// One headless run with a fresh profile, kept off the network: every name but 127.0.0.1 fails
// to resolve, and the background services that would call out are off.
PageLoad LoadPage(int port, int run) {
  const std::string profile = std::string(kHome) + "/profile-" + std::to_string(run);
  const tti::test::CommandResult result =
      tti::test::RunClean({"env",
                           std::string("HOME=") + kHome,
                           "timeout",
                           "120",
                           "chromium",
                           "--headless",
                           "--no-sandbox",
                           "--disable-gpu",
                           "--user-data-dir=" + profile,
                           "--no-first-run",
                           "--disable-background-networking",
                           "--disable-component-update",
                           "--disable-sync",
                           "--disable-default-apps",
                           "--disable-breakpad",
                           "--disable-domain-reliability",
                           "--no-pings",
                           "--metrics-recording-only",
                           "--host-resolver-rules=MAP * ~NOTFOUND , EXCLUDE 127.0.0.1",
                           "--dump-dom",
                           "https://127.0.0.1:" + std::to_string(port) + "/"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  PageLoad load;
  load.loaded = result.output.find(">ok\n</pre>") != std::string::npos;
  load.authorityInvalid =
      result.output.find("net::ERR_CERT_AUTHORITY_INVALID") != std::string::npos;
  return load;
}

TEST(NssChromium, ServerTrustedOnlyWhileRootInUsersDatabase) {
  const tti::test::TestCertificate root = tti::test::MakeRootCertificate("tti browser root");
  const tti::test::TestCertificate server = tti::test::MakeServerCertificate(root, "127.0.0.1");
  const Certificate certificate{"Morvane_Shield_Personal_Root_Certificate_b0b0b0b0", root.Der()};
  tti::test::RunInMountNamespace([&] {
    tti::test::MountProductTree();
    tti::test::MountTmpfs("/home");
    tti::test::CreateNssDatabase(kDatabase);
    const tti::test::LocalHttpsServer https(server);
    const Nss3Storage store{std::string(kDatabase) + "/cert9.db", 0, 0};

    PageLoad load = LoadPage(https.Port(), 1);
    EXPECT_FALSE(load.loaded);
    EXPECT_TRUE(load.authorityInvalid);

    std::vector<Certificate> certificates = {certificate};
    ASSERT_EQ(store.AddCertificatesToStore(certificates), 0);
    load = LoadPage(https.Port(), 2);
    EXPECT_TRUE(load.loaded);
    EXPECT_FALSE(load.authorityInvalid);

    ASSERT_EQ(store.DeleteCertificatesFromStore({certificate}), 0);
    load = LoadPage(https.Port(), 3);
    EXPECT_FALSE(load.loaded);
    EXPECT_TRUE(load.authorityInvalid);
  });
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores
