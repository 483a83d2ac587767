// The walk of one home over real directory trees on a tmpfs /home in a private mount namespace:
// the places profiles live, hostile entries, unreadable directories, a tree thousands of levels
// deep, and MakeNss3Storage on each kind of file.
#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "cert_stores/nss/nss3_storage.h"
#include "qel/tools/unique_fd.h"
#include "support/machine.h"
#include "support/namespace_sandbox.h"
#include "system/nss_discovery/nss3_storage_printer.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

using namespace tti::test;

constexpr uint32_t kAlice = 1001;

void MakeFifo(const std::string& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0666), 0) << path; }

size_t OpenDescriptorCount() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

QelUser Alice(const std::string& home = "/home/alice") {
  return QelUser{"alice", home, kAlice, kAlice, kRoleUser};
}

std::vector<std::string> Paths(const std::vector<Nss3Storage>& stores) {
  std::vector<std::string> paths;
  for (const Nss3Storage& store : stores) {
    paths.push_back(store.path);
  }
  return paths;
}

// Makes the directories of `path` and a plain file at its end: enough for a store to be found.
void MakeFileIn(const std::string& path, uint32_t uid = kAlice, uint32_t gid = kAlice) {
  MakeDirectory(path.substr(0, path.rfind('/')));
  MakeFile(path, uid, gid);
}

TEST(UserNss3Storages, ProfilePlaces_OnlyBelowThePlacesAndDirectlyInTheHome) {
  RunInMountNamespace([] {
    MountTmpfs("/home");
    const std::string home = "/home/alice";
    MakeDirectory(home, kAlice);
    MakeNssDatabaseOf(home + "/.mozilla/firefox/abcd.default-release", kAlice);
    MakeNssDatabaseOf(home + "/.pki/nssdb", kAlice);
    MakeFileIn(home + "/snap/chromium/2497/.pki/nssdb/cert9.db", kAlice, 50);
    MakeFileIn(home + "/Snap/a/cert9.db", 1234, 77);
    MakeFileIn(home + "/.snap/b/c/d/e/f/cert9.db");
    MakeFile(home + "/cert9.db", kAlice, kAlice);
    // Where today's browsers, mail clients and Flatpak apps make a fresh user's database.
    const std::vector<std::string> newer = {
        home + "/.config/mozilla/firefox/x.default-esr/cert9.db",
        home + "/.local/share/pki/nssdb/cert9.db",
        home + "/.thunderbird/y.default-esr/cert9.db",
        home + "/.var/app/org.chromium.Chromium/.local/share/pki/nssdb/cert9.db",
        home + "/.var/app/org.mozilla.firefox/.mozilla/firefox/z.default/cert9.db",
    };
    for (const std::string& path : newer) {
      MakeFileIn(path);
    }
    // Not found: outside the places, on the way to a deeper place, a near miss of the name, a
    // mere prefix of a root name.
    MakeNssDatabaseOf(home + "/.config/.pki/nssdb", kAlice);
    const std::vector<std::string> misses(
        {"/.config/chromium/Default/cert9.db", "/.config/cert9.db", "/.local/cert9.db",
         "/.local/share/cert9.db", "/.local/share/pkix/nssdb/cert9.db", "/Documents/cert9.db",
         "/.pki/Cert9.db", "/.pki/cert9.db.bak", "/.pkix/nssdb/cert9.db"});
    for (const std::string& miss : misses) {
      MakeFileIn(home + miss);
    }

    const std::vector<Nss3Storage> expected = {
        {newer[0], kAlice, kAlice},
        {newer[1], kAlice, kAlice},
        {home + "/.mozilla/firefox/abcd.default-release/cert9.db", kAlice, kAlice},
        {home + "/.pki/nssdb/cert9.db", kAlice, kAlice},
        {home + "/.snap/b/c/d/e/f/cert9.db", kAlice, kAlice},
        {newer[2], kAlice, kAlice},
        {newer[3], kAlice, kAlice},
        {newer[4], kAlice, kAlice},
        {home + "/Snap/a/cert9.db", 1234, 77},
        {home + "/cert9.db", kAlice, kAlice},
        {home + "/snap/chromium/2497/.pki/nssdb/cert9.db", kAlice, 50},
    };
    EXPECT_EQ(GetUserNss3Storages(Alice()), expected);
    // A final '/' in the home field changes nothing.
    EXPECT_EQ(GetUserNss3Storages(Alice(home + "/")), expected);

    // Homes that give nothing: no profile places, empty, missing, a plain file.
    MakeFileIn("/home/plain/Downloads/cert9.db");
    MakeDirectory("/home/empty");
    MakeFile("/home/file");
    for (const char* nothing : {"/home/plain", "/home/empty", "/home/missing", "/home/file"}) {
      EXPECT_TRUE(GetUserNss3Storages(Alice(nothing)).empty()) << nothing;
    }

    // An empty home field means the working directory, and paths stay relative to it.
    ASSERT_EQ(::chdir(home.c_str()), 0);
    const auto relative = Paths(GetUserNss3Storages(Alice("")));
    EXPECT_EQ(relative.size(), expected.size());
    EXPECT_EQ(relative.front(), "./.config/mozilla/firefox/x.default-esr/cert9.db");
  });
}

TEST(UserNss3Storages, DeeperPlaces_ALinkOnTheWayIsNotFollowed) {
  RunInMountNamespace([] {
    MountTmpfs("/home");
    // The targets hold databases where the places would have them.
    MakeFileIn("/home/real/config/mozilla/firefox/p/cert9.db");
    MakeFileIn("/home/real/mozilla/firefox/p/cert9.db");
    MakeFileIn("/home/real/share/pki/nssdb/cert9.db");
    MakeFileIn("/home/real/local/share/pki/nssdb/cert9.db");
    const std::vector<std::pair<std::string, std::string>> links = {
        {"/home/real/config", "/home/a/.config"},
        {"/home/real/mozilla", "/home/b/.config/mozilla"},
        {"/home/real/share", "/home/c/.local/share"},
        {"/home/real/local", "/home/d/.local"},
        {"/home/real/share/pki", "/home/e/.local/share/pki"},
    };
    for (const auto& [target, link] : links) {
      MakeDirectory(link.substr(0, link.rfind('/')), kAlice);
      std::filesystem::create_symlink(target, link);
      const std::string home = link.substr(0, link.find('/', 6));
      EXPECT_TRUE(GetUserNss3Storages(Alice(home)).empty()) << link;
    }
  });
}

TEST(UserNss3Storages, HostileEntries_NoLinkFollowedNothingOpened) {
  RunInMountNamespace([] {
    MountTmpfs("/home");
    const std::string home = "/home/alice";
    const std::string elsewhere = "/home/elsewhere";
    MakeNssDatabaseOf(elsewhere + "/.pki/nssdb", kAlice);
    MountEtc({});  // a tmpfs /etc, after the last certutil run
    MakeDirectory("/etc/pki/nssdb");
    MakeFile("/etc/pki/nssdb/cert9.db");
    // Links to profiles, to a whole home, to /etc, to a database, and loops.
    MakeDirectory(home, kAlice);
    std::filesystem::create_symlink(elsewhere + "/.pki/nssdb", home + "/.mozilla");
    MakeDirectory(home + "/.pki");
    std::filesystem::create_symlink(elsewhere + "/.pki/nssdb", home + "/.pki/nssdb");
    std::filesystem::create_symlink("/etc", home + "/.pki/etc");
    std::filesystem::create_symlink("/", home + "/.pki/root");
    std::filesystem::create_symlink("..", home + "/.pki/up");
    std::filesystem::create_symlink(home, home + "/.pki/self");
    MakeDirectory(home + "/.pki/linked");
    std::filesystem::create_symlink(elsewhere + "/.pki/nssdb/cert9.db",
                                    home + "/.pki/linked/cert9.db");
    std::filesystem::create_symlink(elsewhere, home + "/snap");
    // A FIFO under a database's name and under a root name: opening either would block.
    MakeDirectory(home + "/Snap/fifo");
    MakeFifo(home + "/Snap/fifo/cert9.db");
    MakeFifo(home + "/.snap");
    MakeDirectory(home + "/.local");
    MakeFifo(home + "/.local/share");
    // A directory named cert9.db is entered like any other, but is no store itself.
    MakeDirectory(home + "/Snap/dir/cert9.db");
    MakeFile(home + "/Snap/dir/cert9.db/cert9.db", kAlice, kAlice);
    // Names with newlines and other bytes a shell would trip over.
    const std::string odd = home + "/Snap/new\nline/ -x \t*\n";
    MakeFileIn(odd + "/\xff\xfe/cert9.db");
    MakeFile(home + "/Snap/cert9.db\n", kAlice, kAlice);

    const size_t descriptors = OpenDescriptorCount();
    const std::vector<Nss3Storage> expected = {
        {home + "/Snap/dir/cert9.db/cert9.db", kAlice, kAlice},
        {odd + "/\xff\xfe/cert9.db", kAlice, kAlice},
    };
    EXPECT_EQ(GetUserNss3Storages(Alice()), expected);
    EXPECT_EQ(OpenDescriptorCount(), descriptors);
    // The targets are stores when reached by their own paths.
    EXPECT_EQ(Paths(GetUserNss3Storages(Alice(elsewhere))),
              std::vector<std::string>{elsewhere + "/.pki/nssdb/cert9.db"});
    Nss3Storage storage;
    EXPECT_EQ(MakeNss3Storage("/etc/pki/nssdb/cert9.db", storage), 0);
  });
}

TEST(UserNss3Storages, UnreadableDirectories_PassedOverAsAnOrdinaryUser) {
  RunInMountNamespace([] {
    MountTmpfs("/home");
    const std::string home = "/home/alice";
    MakeDirectory(home, kAlice);
    MakeNssDatabaseOf(home + "/.pki/open", kAlice);
    MakeNssDatabaseOf(home + "/.pki/locked/nssdb", kAlice);
    MakeDirectory(home + "/.pki/locked", 0, 0000);
    // Readable but not searchable: its names can be listed, their types not looked at.
    MakeNssDatabaseOf(home + "/.pki/listonly", kAlice);
    MakeDirectory(home + "/.pki/listonly", 0, 0644);
    MakeNssDatabaseOf(home + "/.mozilla/p", kAlice);
    MakeDirectory(home + "/.mozilla", 0, 0000);
    MakeFile(home + "/cert9.db", kAlice, kAlice);
    MakeNssDatabaseOf("/home/closed/.pki/nssdb", kAlice);
    MakeDirectory("/home/closed", 0, 0000);

    const std::string homeDb = home + "/cert9.db";
    const std::string open = home + "/.pki/open/cert9.db";
    const auto walk = [&] {
      auto paths = Paths(GetUserNss3Storages(Alice()));
      const auto closed = Paths(GetUserNss3Storages(Alice("/home/closed")));
      paths.insert(paths.end(), closed.begin(), closed.end());
      return paths;
    };
    // Root reads them all: the difference below is the permissions, not the tree.
    EXPECT_EQ(walk().size(), 6u);
    // This sandboxed child is ours alone and single-threaded: it can become alice for good.
    ASSERT_EQ(::setgroups(0, nullptr), 0);
    ASSERT_EQ(::setresgid(kAlice, kAlice, kAlice), 0);
    ASSERT_EQ(::setresuid(kAlice, kAlice, kAlice), 0);
    EXPECT_EQ(walk(), (std::vector<std::string>{open, homeDb}));
  });
}

// Creates `levels` nested directories named "dd" below `top` with a cert9.db at the given
// levels; returns the paths of the databases, shallowest first.
std::vector<std::string> MakeDeepTree(const std::string& top, int levels,
                                      const std::vector<int>& databases) {
  std::string path = top;
  std::vector<std::string> made;
  qel::tools::UniqueFd current(::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  for (int level = 1; level <= levels; ++level) {
    EXPECT_EQ(::mkdirat(current.Get(), "dd", 0755), 0);
    current.Reset(::openat(current.Get(), "dd", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    path += "/dd";
    if (std::find(databases.begin(), databases.end(), level) != databases.end()) {
      qel::tools::UniqueFd(::openat(current.Get(), "cert9.db", O_CREAT | O_WRONLY, 0644));
      made.push_back(path + "/cert9.db");
    }
  }
  return made;
}

// Only the soft limit moves: raising the hard one would need CAP_SYS_RESOURCE.
void SetDescriptorLimit(rlim_t limit) {
  rlimit value{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &value), 0);
  ASSERT_GE(value.rlim_max, limit) << "the descriptor hard limit is too low for this tree";
  value.rlim_cur = limit;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &value), 0);
}

TEST(UserNss3Storages, TreeThousandsOfLevelsDeep_FoundAsFarAsDescriptorsReach) {
  RunInMountNamespace([] {
    MountTmpfs("/home");
    const std::string home = "/home/alice";
    MakeDirectory(home + "/snap");
    constexpr int kLevels = 3000;
    const std::vector<std::string> made = MakeDeepTree(home + "/snap", kLevels, {10, kLevels});
    const std::string& shallow = made.at(0);
    const std::string& deep = made.at(1);
    ASSERT_GT(deep.size(), 2 * tools::kLongPathLength);

    // One descriptor per level: with room for them all, the bottom is reached.
    SetDescriptorLimit(kLevels + 100);
    const size_t descriptors = OpenDescriptorCount();
    // Compared without printing: the deep path has more than 9000 bytes.
    const auto found = Paths(GetUserNss3Storages(Alice()));
    EXPECT_TRUE(found == made) << found.size() << " found";
    EXPECT_EQ(OpenDescriptorCount(), descriptors);
    // The long path works on its own as well.
    Nss3Storage storage;
    EXPECT_EQ(MakeNss3Storage(deep, storage), 0);
    EXPECT_EQ(storage.path, deep);

    // Without: the levels that cannot be opened are passed over, the rest is still reported.
    SetDescriptorLimit(200);
    EXPECT_EQ(Paths(GetUserNss3Storages(Alice())), std::vector<std::string>{shallow});
  });
}

TEST(MakeNss3Storage, OnlyARegularFileNamedExactlyCert9) {
  RunInMountNamespace([] {
    MountTmpfs("/home");
    MakeDirectory("/home/t/dir/cert9.db");
    MakeDirectory("/home/t/fifo");
    MakeFifo("/home/t/fifo/cert9.db");
    MakeDirectory("/home/t/link");
    MakeFileIn("/home/t/real/cert9.db", 7, 8);
    std::filesystem::create_symlink("/home/t/real/cert9.db", "/home/t/link/cert9.db");
    MakeFile("/home/t/Cert9.db");
    MakeFile("/home/t/key4.db");

    Nss3Storage storage;
    EXPECT_EQ(MakeNss3Storage("/home/t/real/cert9.db", storage), 0);
    EXPECT_EQ(storage, (Nss3Storage{"/home/t/real/cert9.db", 7, 8}));
    for (const char* path : {"/home/t/dir/cert9.db", "/home/t/fifo/cert9.db",
                             "/home/t/link/cert9.db", "/home/t/Cert9.db", "/home/t/key4.db",
                             "/home/t/missing/cert9.db", "/home/t/real/cert9.db/"}) {
      Nss3Storage untouched{"before", 1, 2};
      EXPECT_EQ(MakeNss3Storage(path, untouched), static_cast<result_t>(0x8000004b)) << path;
      EXPECT_EQ(untouched, (Nss3Storage{"before", 1, 2})) << path;
    }
  });
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores
