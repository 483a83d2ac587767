// The cert-manager helper as the module starts it, on real NSS databases made and read with
// certutil and vfychain: trust written, removal by bytes, refusals that change nothing, the user's
// module list left unloaded, and the work done as the owner of the database's directory.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cert_stores/conversions/cert_conversions.h"
#include "support/cert_factory.h"
#include "support/clean_command.h"
#include "support/machine.h"
#include "support/namespace_sandbox.h"
#include "support/nss_test_db.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

using ::testing::HasSubstr;
using tti::test::ChangeOwner;
using tti::test::CreateNssDatabase;
using tti::test::FolderBytes;
using tti::test::ListNssDatabase;
using tti::test::NssTrustsServer;
using tti::test::ScratchDirectory;
using Entries = std::map<std::string, std::string>;

constexpr uid_t kUser = 4242;
constexpr gid_t kGroup = 4343;

using HelperRun = tti::test::CommandResult;

// Runs the built helper with `environment` alone (and PATH), as the module does with its own.
HelperRun RunHelper(std::vector<std::string> words,
                    const std::vector<std::string>& environment = {}) {
  words.insert(words.begin(), std::string(std::getenv("TTI_BINARY_DIR")) + "/bin/cert-manager");
  return tti::test::RunCommand(words, environment);
}

HelperRun Add(const std::string& store, const std::vector<Certificate>& certificates) {
  return RunHelper({"--nss3-add", "--nss3-path", store, "--certlist", MakeCertList(certificates)});
}

HelperRun Delete(const std::string& store, const std::vector<Certificate>& certificates) {
  return RunHelper(
      {"--nss3-delete", "--nss3-path", store, "--certlist", MakeCertList(certificates)});
}

std::pair<uid_t, gid_t> OwnerOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return {status.st_uid, status.st_gid};
}

class CertManagerTest : public ::testing::Test {
 protected:
  ScratchDirectory m_scratch;
  tti::test::TestCertificate m_root = tti::test::MakeRootCertificate("tti helper root");
  tti::test::TestCertificate m_server = tti::test::MakeServerCertificate(m_root, "127.0.0.1");
  tti::test::TestCertificate m_otherRoot = tti::test::MakeRootCertificate("tti other root");
  Certificate m_cert{"Morvane_Shield_Personal_Root_Certificate_0a0b0c0d", m_root.Der()};
  Certificate m_otherCert{"Morvane_Shield_Personal_Root_Certificate_11223344", m_otherRoot.Der()};
};

TEST_F(CertManagerTest, AddThenDelete_TrustedForTlsServersRemovedByBytes) {
  const std::string directory = m_scratch.MakeFolder("home/.pki/nssdb");
  CreateNssDatabase(directory);
  const std::string store = directory + "/cert9.db";
  EXPECT_FALSE(NssTrustsServer(directory, m_server));

  const HelperRun added = Add(store, {m_cert, m_otherCert});
  ASSERT_EQ(added.exitCode, 0) << added.output;
  EXPECT_EQ(ListNssDatabase(directory), (Entries{{m_cert.name, "C,,"}, {m_otherCert.name, "C,,"}}));
  EXPECT_TRUE(NssTrustsServer(directory, m_server));
  // Again: no second copy, trust unchanged.
  ASSERT_EQ(Add(store, {m_cert}).exitCode, 0);
  EXPECT_EQ(ListNssDatabase(directory).size(), 2u);

  // The name plays no part in a removal (the certificate manager sends an empty one); a
  // certificate that is not there is no error.
  const Certificate renamed{"", m_cert.raw};
  const Certificate absent{"absent", tti::test::MakeRootCertificate("tti absent").Der()};
  const HelperRun deleted = Delete(store, {absent, renamed});
  EXPECT_EQ(deleted.exitCode, 0) << deleted.output;
  EXPECT_EQ(ListNssDatabase(directory), (Entries{{m_otherCert.name, "C,,"}}));
  EXPECT_FALSE(NssTrustsServer(directory, m_server));
}

TEST_F(CertManagerTest, WrongArguments_ExitOneWithUsageAndNothingChanged) {
  const std::string directory = m_scratch.MakeFolder("db");
  CreateNssDatabase(directory);
  const std::string store = directory + "/cert9.db";
  const std::string list = MakeCertList({m_cert});
  const auto before = FolderBytes(directory);
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"--nss3-path", store, "--certlist", list},
      {"--nss3-add", "--nss3-delete", "--nss3-path", store, "--certlist", list},
      {"--nss3-add", "--certlist", list},
      {"--nss3-add", "--nss3-path", store},
      {"--nss3-add", "--nss3-path", store, "--certlist"},
      {"--nss3-add", "--nss3-path", store, "--nss3-path", store, "--certlist", list},
      {"--nss3-add", "--nss3-path", store, "--certlist", list, "--force"},
      {"--nss3-add", "--nss3-path", store, "--certlist", "name:not a certificate"},
      {"--nss3-add", "--nss3-path", store, "--certlist", ""},
  };
  for (const auto& words : cases) {
    const HelperRun run = RunHelper(words);
    EXPECT_EQ(run.exitCode, 1) << ::testing::PrintToString(words);
    EXPECT_THAT(run.output, HasSubstr("cert-manager: "));
  }
  EXPECT_EQ(FolderBytes(directory), before);
}

TEST_F(CertManagerTest, OneCertificateRefused_ExitThreeAndTheOthersDone) {
  const std::string directory = m_scratch.MakeFolder("db");
  CreateNssDatabase(directory);
  // NSS keeps one subject per nickname: a different certificate under a taken name is refused.
  const tti::test::TestCertificate holder = tti::test::MakeRootCertificate("tti name holder");
  tti::test::AddWithCertutil(directory, holder, "taken", ",,");

  const HelperRun run = Add(directory + "/cert9.db", {{"taken", m_cert.raw}, m_otherCert});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.output, HasSubstr("cert-manager: cannot import taken: "));
  EXPECT_EQ(ListNssDatabase(directory), (Entries{{"taken", ",,"}, {m_otherCert.name, "C,,"}}));
  EXPECT_FALSE(NssTrustsServer(directory, m_server));
}

TEST_F(CertManagerTest, PasswordDatabase_RefusedWithMessageAndUnchanged) {
  const std::string directory = m_scratch.MakeFolder("db");
  CreateNssDatabase(directory, "secret");
  tti::test::AddWithCertutil(directory, m_otherRoot, m_otherCert.name, "C,,", "secret");
  const Entries entries = ListNssDatabase(directory);
  const auto before = FolderBytes(directory);

  for (const HelperRun& run :
       {Add(directory + "/cert9.db", {m_cert}), Delete(directory + "/cert9.db", {m_otherCert})}) {
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.output, HasSubstr("is protected by a password; nothing was changed"));
  }
  EXPECT_EQ(ListNssDatabase(directory), entries);
  EXPECT_EQ(FolderBytes(directory), before);
}

TEST_F(CertManagerTest, DatabaseNotOpened_ExitTwoWithMessage) {
  const std::string damaged = m_scratch.MakeFolder("damaged");
  tti::test::WriteTextFile(damaged + "/cert9.db", "not a database, not at all\n");
  tti::test::WriteTextFile(damaged + "/key4.db", "no keys either\n");
  const auto before = FolderBytes(damaged);
  // Damaged, or in a folder that is not there: store path and a part of the message.
  const std::pair<std::string, std::string> cases[] = {
      {damaged + "/cert9.db", "Cannot init " + damaged + "/cert9.db"},
      {m_scratch / "no/such/cert9.db", "no/such"}};
  for (const auto& [store, message] : cases) {
    const HelperRun run = Add(store, {m_cert});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.output, HasSubstr(message));
  }
  EXPECT_EQ(FolderBytes(damaged), before);
}

TEST_F(CertManagerTest, DatabaseItsMakerSetsUp_ExitFourUnchangedThenAddedOnceReady) {
  // A maker between its steps: the key file not there yet or still empty, or the token without
  // its first password.
  const std::string unset = m_scratch.MakeFolder("unset");
  tti::test::CreateUnsetNssDatabase(unset);
  const std::string noKeys = m_scratch.MakeFolder("nokeys");
  CreateNssDatabase(noKeys);
  std::filesystem::remove(noKeys + "/key4.db");
  const std::string emptyKeys = m_scratch.MakeFolder("emptykeys");
  CreateNssDatabase(emptyKeys);
  std::filesystem::resize_file(emptyKeys + "/key4.db", 0);
  for (const std::string& directory : {unset, noKeys, emptyKeys}) {
    const auto before = FolderBytes(directory);
    for (const HelperRun& run :
         {Add(directory + "/cert9.db", {m_cert}), Delete(directory + "/cert9.db", {m_cert})}) {
      EXPECT_EQ(run.exitCode, 4) << directory << run.output;
      EXPECT_THAT(run.output, HasSubstr("; nothing was changed"));
    }
    EXPECT_EQ(FolderBytes(directory), before) << directory;
  }

  // The maker, a script without a terminal, finds the token still waiting for its first password
  // and is not asked for an old one; then the root goes in with its trust.
  const HelperRun made = tti::test::RunCommand(
      {"certutil", "-N", "--empty-password", "-d", "sql:" + unset}, {}, 0, 10);
  ASSERT_EQ(made.exitCode, 0) << made.output;
  ASSERT_EQ(Add(unset + "/cert9.db", {m_cert}).exitCode, 0);
  EXPECT_TRUE(NssTrustsServer(unset, m_server));
}

TEST_F(CertManagerTest, LibraryLineOfModuleList_NeverLoaded) {
  const std::string directory = m_scratch.MakeFolder("db");
  CreateNssDatabase(directory);
  // What a user can write into his own pkcs11.txt: a library that NSS would load and run.
  const std::string moduleList = directory + "/pkcs11.txt";
  tti::test::WriteTextFile(moduleList, tti::test::ReadTextFile(moduleList) + "\nlibrary=" +
                                           TTI_MARKER_MODULE + "\nname=user module\n");
  const std::string marker = m_scratch / "marker";

  const HelperRun run = RunHelper(
      {"--nss3-add", "--nss3-path", directory + "/cert9.db", "--certlist", MakeCertList({m_cert})},
      {"TTI_MARKER=" + marker});
  EXPECT_EQ(run.exitCode, 0) << run.output;
  EXPECT_FALSE(std::filesystem::exists(marker));
  EXPECT_EQ(ListNssDatabase(directory), (Entries{{m_cert.name, "C,,"}}));

  // The same database opened with its module list does run the library: the line is live.
  tti::test::RunClean({"env", "TTI_MARKER=" + marker, "certutil", "-L", "-d", "sql:" + directory});
  EXPECT_TRUE(std::filesystem::exists(marker));
}

TEST_F(CertManagerTest, UserDirectory_FilesWrittenAsTheUser) {
  // A database the user has, and a profile folder with none yet, named as the module names the
  // system database: the directory with a final "/".
  const std::string home = m_scratch.MakeFolder("home");
  const std::string existing = m_scratch.MakeFolder("home/.pki/nssdb");
  const std::string fresh = m_scratch.MakeFolder("home/snap/app/profile");
  CreateNssDatabase(existing);
  ChangeOwner(home, kUser, kGroup);

  ASSERT_EQ(Add(existing + "/cert9.db", {m_cert}).exitCode, 0);
  ASSERT_EQ(Add(fresh + "/", {m_cert}).exitCode, 0);

  for (const std::string& directory : {existing, fresh}) {
    EXPECT_EQ(ListNssDatabase(directory), (Entries{{m_cert.name, "C,,"}}));
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
      EXPECT_EQ(OwnerOf(entry.path()), std::make_pair(kUser, kGroup)) << entry.path();
    }
  }
}

TEST_F(CertManagerTest, UserLinkToRootDatabase_NotWrittenThrough) {
  // root's database, and a user who points his profile at it.
  const std::string rootDatabase = m_scratch.MakeFolder("root/nssdb");
  CreateNssDatabase(rootDatabase);
  const std::string home = m_scratch.MakeFolder("home/.pki");
  std::filesystem::create_directory_symlink(rootDatabase, home + "/nssdb");
  ChangeOwner(m_scratch / "home", kUser, kGroup);
  const auto before = FolderBytes(rootDatabase);

  const HelperRun run = Add(home + "/nssdb/cert9.db", {m_cert});
  EXPECT_EQ(run.exitCode, 2) << run.output;
  EXPECT_EQ(ListNssDatabase(rootDatabase), Entries{});
  EXPECT_EQ(FolderBytes(rootDatabase), before);
  EXPECT_EQ(OwnerOf(rootDatabase + "/cert9.db"), std::make_pair(0u, 0u));
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores
