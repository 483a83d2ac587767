// Nss3Storage on real NSS databases made with certutil: the read-only listing, and when and how
// the cert-manager helper is started at its fixed path (a recording script in its place, in a
// private mount namespace). The helper's own work is proven by its tests and through the module.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/nss/nss3_storage.h"
#include "product/product_paths.h"
#include "qel/tools/unique_fd.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"
#include "support/nss_test_db.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

using tti::test::CreateNssDatabase;
using tti::test::MountProductTree;
using tti::test::RunInMountNamespace;
using tti::test::ScratchDirectory;
using tti::test::WriteTextFile;

constexpr char kLibexec[] = "/opt/morvane/tolm/libexec";
constexpr char kStarts[] = "/opt/morvane/tolm/libexec/starts";

std::vector<std::string> Names(const std::vector<Certificate>& certificates) {
  std::vector<std::string> names;
  for (const Certificate& certificate : certificates) {
    names.push_back(certificate.name);
  }
  return names;
}

// Inside the namespace: the helper's folder becomes a tmpfs holding `script` (or nothing) at the
// helper's name. The script may record its arguments, one file each, under kStarts.
void ReplaceHelper(const std::string& script, mode_t mode = 0755) {
  tti::test::MountTmpfs(kLibexec);
  if (!script.empty()) {
    WriteTextFile(product::kCertManagerPath, "#!/bin/sh\n" + script, mode);
  }
}

constexpr char kRecorder[] =
    "mkdir -p /opt/morvane/tolm/libexec/starts/$$ && i=0\n"
    "for word in \"$0\" \"$@\"; do\n"
    "  i=$((i+1)); printf '%s' \"$word\" > /opt/morvane/tolm/libexec/starts/$$/$i\n"
    "done\n";

using Starts = std::vector<std::vector<std::string>>;

// The argument vector of every recorded start.
Starts RecordedStarts() {
  Starts starts;
  if (!std::filesystem::exists(kStarts)) {
    return starts;
  }
  for (const auto& start : std::filesystem::directory_iterator(kStarts)) {
    std::vector<std::string> words;
    for (int index = 1; std::filesystem::exists(start.path() / std::to_string(index)); ++index) {
      words.push_back(tti::test::ReadTextFile((start.path() / std::to_string(index)).string()));
    }
    starts.push_back(words);
  }
  return starts;
}

// The helper's argument vector for `operation` on the database in `directory`.
std::vector<std::string> Start(const std::string& operation, const std::string& directory,
                               const std::vector<Certificate>& certificates) {
  return {product::kCertManagerPath, operation,    "--nss3-path",
          directory + "/cert9.db",   "--certlist", MakeCertList(certificates)};
}

// A write lock over the whole of a file, as a writer of an SQLite database holds it. An open file
// description lock conflicts with the record locks SQLite takes even inside this process.
class DatabaseLock final {
 public:
  explicit DatabaseLock(const std::string& path) : m_fd(::open(path.c_str(), O_RDWR | O_CLOEXEC)) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;  // l_start 0, l_len 0: the whole file and beyond its end
    EXPECT_EQ(::fcntl(m_fd.Get(), F_OFD_SETLK, &lock), 0) << path;
  }

 private:
  qel::tools::UniqueFd m_fd;  // closing it releases the lock
};

class NssStorageTest : public ::testing::Test {
 protected:
  Nss3Storage StoreIn(const std::string& directory) const {
    return Nss3Storage{directory + "/cert9.db", 0, 0};
  }

  ScratchDirectory m_scratch;
  tti::test::TestCertificate m_root = tti::test::MakeRootCertificate("tti nss root");
  tti::test::TestCertificate m_otherRoot = tti::test::MakeRootCertificate("tti nss other root");
  Certificate m_cert{"Morvane_Shield_Personal_Root_Certificate_a1b2c3d4", m_root.Der()};
  Certificate m_otherCert{"Morvane_Shield_Personal_Root_Certificate_99887766", m_otherRoot.Der()};
};

TEST_F(NssStorageTest, GetCertificates_EmptyFilledOrNotReadable) {
  const std::string directory = m_scratch.MakeFolder("db");
  CreateNssDatabase(directory);
  std::vector<RawCert> listed;
  EXPECT_EQ(StoreIn(directory).GetCertificates(listed), 0);
  EXPECT_TRUE(listed.empty());

  tti::test::AddWithCertutil(directory, m_root, "one", "C,,");
  tti::test::AddWithCertutil(directory, m_otherRoot, "two", ",,");
  EXPECT_EQ(StoreIn(directory).GetCertificates(listed), 0);
  EXPECT_THAT(listed, ::testing::UnorderedElementsAre(m_cert.raw, m_otherCert.raw));

  // The system database's form: the directory with a final "/".
  RunInMountNamespace([&] {
    tti::test::BuildStoreLayout(tti::test::StoreLayout::kDebian);
    CreateNssDatabase("/etc/pki/nssdb");
    tti::test::AddWithCertutil("/etc/pki/nssdb", m_root, "system", "C,,");
    std::vector<RawCert> system;
    EXPECT_EQ((Nss3Storage{kSystemNss3Path, 0, 0}.GetCertificates(system)), 0);
    EXPECT_EQ(system, std::vector<RawCert>{m_cert.raw});
  });

  // Damaged, missing, locked or unreadable: unspecified.
  const std::string damaged = m_scratch.MakeFolder("damaged");
  WriteTextFile(damaged + "/cert9.db", std::string(4096, 'x'));
  const std::string locked = m_scratch.MakeFolder("locked");
  CreateNssDatabase(locked);
  const std::string missing = m_scratch / "missing";

  EXPECT_EQ(StoreIn(damaged).GetCertificates(listed), orv::errors::kUnspecified);
  EXPECT_EQ(StoreIn(missing).GetCertificates(listed), orv::errors::kUnspecified);
  {
    const DatabaseLock lock(locked + "/cert9.db");
    EXPECT_EQ(StoreIn(locked).GetCertificates(listed), orv::errors::kUnspecified);
  }
  // The lock gone, the same database reads again: nothing of the failure stayed in NSS.
  EXPECT_EQ(StoreIn(locked).GetCertificates(listed), 0);

  // root's database, read by a service that runs as another user.
  RunInMountNamespace([&] {
    ASSERT_EQ(::setresgid(4343, 4343, 4343), 0);
    ASSERT_EQ(::setresuid(4242, 4242, 4242), 0);
    std::vector<RawCert> unreadable;
    EXPECT_EQ(StoreIn(locked).GetCertificates(unreadable), orv::errors::kUnspecified);
  });
}

TEST_F(NssStorageTest, HelperStarts_OnlyForWhatIsNewOrUnknown) {
  const std::string held = m_scratch.MakeFolder("held");
  CreateNssDatabase(held);
  tti::test::AddWithCertutil(held, m_root, "held", "C,,");
  const std::string damaged = m_scratch.MakeFolder("damaged");
  WriteTextFile(damaged + "/cert9.db", std::string(4096, 'x'));
  WriteTextFile(damaged + "/key4.db", std::string(4096, 'x'));
  const std::string locked = m_scratch.MakeFolder("locked");
  CreateNssDatabase(locked);
  tti::test::AddWithCertutil(locked, m_root, "held", "C,,");
  // Still its maker's: the key file not made yet, or the token without its first password.
  const std::string noKeys = m_scratch.MakeFolder("nokeys");
  WriteTextFile(noKeys + "/cert9.db", std::string(4096, 'x'));
  const std::string unset = m_scratch.MakeFolder("unset");
  tti::test::CreateUnsetNssDatabase(unset);

  RunInMountNamespace([&] {
    MountProductTree();
    ReplaceHelper(kRecorder);
    // Held already: no start, and nothing left in the argument.
    std::vector<Certificate> certificates = {m_cert};
    EXPECT_EQ(StoreIn(held).AddCertificatesToStore(certificates), 0);
    EXPECT_TRUE(certificates.empty());
    EXPECT_TRUE(RecordedStarts().empty());
    // What the store holds is dropped from the argument and the helper's list, the order of the
    // rest kept.
    const Certificate third{"Morvane_Shield_Personal_Root_Certificate_00000003",
                            tti::test::MakeRootCertificate("tti nss third").Der()};
    certificates = {m_otherCert, m_cert, third};
    EXPECT_EQ(StoreIn(held).AddCertificatesToStore(certificates), 0);
    EXPECT_EQ(Names(certificates), Names({m_otherCert, third}));
    EXPECT_EQ(RecordedStarts(), Starts{Start("--nss3-add", held, {m_otherCert, third})});
    std::filesystem::remove_all(kStarts);

    // Not readable: the whole list goes to the helper, in the contract's argument vector.
    const std::vector<Certificate> both = {m_cert, m_otherCert};
    certificates = both;
    EXPECT_EQ(StoreIn(damaged).AddCertificatesToStore(certificates), 0);
    EXPECT_EQ(Names(certificates), Names(both));
    EXPECT_EQ(RecordedStarts(), Starts{Start("--nss3-add", damaged, both)});

    std::filesystem::remove_all(kStarts);
    for (const std::string& directory : {noKeys, unset}) {
      certificates = {m_cert};
      EXPECT_EQ(StoreIn(directory).AddCertificatesToStore(certificates), kNss3DatabaseNotReady);
    }
    EXPECT_TRUE(RecordedStarts().empty());

    {
      const DatabaseLock lock(locked + "/cert9.db");
      certificates = {m_cert};
      EXPECT_EQ(StoreIn(locked).AddCertificatesToStore(certificates), 0);
    }
    EXPECT_EQ(Names(certificates), Names({m_cert}));
    EXPECT_EQ(RecordedStarts().size(), 1u);

    // A delete never reads first: one start even for a store without the certificate.
    std::filesystem::remove_all(kStarts);
    EXPECT_EQ(StoreIn(held).DeleteCertificatesFromStore({m_otherCert}), 0);
    EXPECT_EQ(RecordedStarts(), Starts{Start("--nss3-delete", held, {m_otherCert})});
  });
}

struct HelperEnd {
  const char* name;
  const char* script;  // empty: no helper at all
  mode_t mode;
  result_t expected;
};

class HelperEndTest : public NssStorageTest, public ::testing::WithParamInterface<HelperEnd> {};

TEST_P(HelperEndTest, AddAndDelete_ResultFromHowTheHelperEnded) {
  const std::string directory = m_scratch.MakeFolder("db");
  CreateNssDatabase(directory);
  RunInMountNamespace([&] {
    MountProductTree();
    ReplaceHelper(GetParam().script, GetParam().mode);
    std::vector<Certificate> certificates = {m_cert};
    EXPECT_EQ(StoreIn(directory).AddCertificatesToStore(certificates), GetParam().expected);
    EXPECT_EQ(StoreIn(directory).DeleteCertificatesFromStore({m_cert}), GetParam().expected);
  });
}

INSTANTIATE_TEST_SUITE_P(
    NssStorage, HelperEndTest,
    ::testing::Values(HelperEnd{"ExitZero", "exit 0\n", 0755, orv::errors::kOk},
                      HelperEnd{"ExitThree", "exit 3\n", 0755, orv::errors::kUnspecified},
                      HelperEnd{"ExitFour", "exit 4\n", 0755, kNss3DatabaseNotReady},
                      HelperEnd{"KilledBySignal", "kill -KILL $$\n", 0755,
                                orv::errors::kUnspecified},
                      HelperEnd{"NotExecutable", "exit 0\n", 0644, orv::errors::kUnspecified},
                      HelperEnd{"Missing", "", 0755, orv::errors::kUnspecified}),
    [](const ::testing::TestParamInfo<HelperEnd>& info) { return std::string(info.param.name); });

// A helper that never ends and ignores SIGTERM, with a child of its own: the time limit, then
// the kill ladder over its whole process group. Takes the full limit (30 s).
TEST_F(NssStorageTest, HelperNeverEnds_StoppedAtTheLimitWithItsChildren) {
  const std::string directory = m_scratch.MakeFolder("db");
  CreateNssDatabase(directory);
  RunInMountNamespace([&] {
    MountProductTree();
    ReplaceHelper(
        "trap '' TERM\n"
        "sleep 600 &\n"
        "echo $$ $! > /opt/morvane/tolm/libexec/pids\n"
        "while :; do sleep 1; done\n");
    std::vector<Certificate> certificates = {m_cert};
    EXPECT_EQ(StoreIn(directory).AddCertificatesToStore(certificates), orv::errors::kUnspecified);
    EXPECT_TRUE(tti::test::ListedProcessesEnd("/opt/morvane/tolm/libexec/pids"))
        << tti::test::ReadTextFile("/opt/morvane/tolm/libexec/pids");
  });
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores
