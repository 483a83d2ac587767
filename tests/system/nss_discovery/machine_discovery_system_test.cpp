// Discovery over a whole sandboxed machine: the accounts of /etc/passwd and the login records,
// their homes on a tmpfs /home, and the system database under a tmpfs /etc.
#include <unistd.h>

#include <filesystem>
#include <vector>

#include <gtest/gtest.h>

#include "cert_stores/nss/nss3_storage.h"
#include "support/machine.h"
#include "support/namespace_sandbox.h"
#include "system/nss_discovery/nss3_storage_printer.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

using namespace tti::test;

// Below UID_MIN and never logged in: "daemon". Below UID_MIN but logged in: "svc". Two accounts
// share one home. One has an empty home field, which means the working directory.
const std::vector<Account> kAccounts = {
    {"root", 0, "/home/root"},
    {"alice", 1001, "/home/alice"},
    {"bob", 1002, "/home/shared"},
    {"carol", 1003, "/home/shared"},
    {"daemon", 500, "/home/daemon"},
    {"svc", 400, "/home/svc"},
    {"nohome", 1004, ""},
};

// Homes with one database each (real ones where certutil can run before /etc is replaced), then
// the accounts.
void BuildMachine() {
  MountTmpfs("/home");
  MakeNssDatabaseOf("/home/root/.pki/nssdb", 0);
  MakeNssDatabaseOf("/home/alice/.mozilla/firefox/p.default", 1001);
  MakeNssDatabaseOf("/home/shared/.pki/nssdb", 1002);
  MakeNssDatabaseOf("/home/daemon/.pki/nssdb", 500);
  MakeDirectory("/home/svc/snap/app/x/.pki/nssdb", 400);
  MakeFile("/home/svc/snap/app/x/.pki/nssdb/cert9.db", 400, 400);
  MakeDirectory("/home/cwd/.pki/nssdb");
  MakeFile("/home/cwd/.pki/nssdb/cert9.db", 1004, 1004);
  MountEtc({{"passwd", PasswdLines(kAccounts)}, {"login.defs", "UID_MIN 1000\n"}});
  LogIn("svc", 0);
  ASSERT_EQ(::chdir("/home/cwd"), 0);
}

TEST(Nss3Storages, Machine_EveryUsersStoresOnceTheSystemDatabaseAndTheWatchedPlaces) {
  // The disk is not looked at for one home: this one exists nowhere.
  EXPECT_EQ(GetWatchDirectories("/nowhere/x"), WatchedPlaces({"/nowhere/x"}));
  EXPECT_EQ(GetWatchDirectories("/nowhere/x/"), WatchedPlaces({"/nowhere/x"}));
  RunInMountNamespace([] {
    BuildMachine();
    // By name, then home: daemon is no user; bob and carol give their shared home twice.
    EXPECT_EQ(GetWatchDirectories(), WatchedPlaces({"/home/alice", "/home/shared", "/home/shared",
                                                    "", "/home/root", "/home/svc"}));

    MakeDirectory("/etc/pki/nssdb");  // empty: reported all the same
    const std::vector<Nss3Storage> expected = {
        {"./.pki/nssdb/cert9.db", 1004, 1004},
        {"/etc/pki/nssdb/", 0, 0},
        {"/home/alice/.mozilla/firefox/p.default/cert9.db", 1001, 1001},
        {"/home/root/.pki/nssdb/cert9.db", 0, 0},
        {"/home/shared/.pki/nssdb/cert9.db", 1002, 1002},
        {"/home/svc/snap/app/x/.pki/nssdb/cert9.db", 400, 400},
    };
    EXPECT_EQ(GetNss3Storages(), expected);

    // Without an account file no account is found (the login record's name cannot be resolved
    // either); the system database is still reported.
    ASSERT_EQ(::unlink("/etc/passwd"), 0);
    EXPECT_EQ(GetNss3Storages(), std::vector<Nss3Storage>{expected[1]});
  });
}

struct SystemDatabaseCase {
  const char* name;
  void (*make)();
  bool reported;
};

TEST(Nss3Storages, SystemDatabase_ADirectoryOrALinkToOne) {
  const SystemDatabaseCase cases[] = {
      {"missing", [] {}, false},
      {"empty directory", [] { MakeDirectory("/etc/pki/nssdb"); }, true},
      {"plain file", [] { MakeFile("/etc/pki/nssdb"); }, false},
      {"link to a directory",
       [] {
         MakeDirectory("/etc/pki/real");
         std::filesystem::create_symlink("real", "/etc/pki/nssdb");
       },
       true},
      {"link to a file",
       [] {
         MakeFile("/etc/pki/real");
         std::filesystem::create_symlink("real", "/etc/pki/nssdb");
       },
       false},
      {"dangling link", [] { std::filesystem::create_symlink("gone", "/etc/pki/nssdb"); }, false},
  };
  for (const SystemDatabaseCase& c : cases) {
    RunInMountNamespace([&] {
      MountTmpfs("/home");
      MountEtc({});
      MakeDirectory("/etc/pki");
      c.make();
      const std::vector<Nss3Storage> system = {{"/etc/pki/nssdb/", 0, 0}};
      EXPECT_EQ(GetNss3Storages(), c.reported ? system : std::vector<Nss3Storage>{}) << c.name;
    });
  }
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores
