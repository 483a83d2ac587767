// What the provider reports: which paths, under which names, with which types.
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <set>

#include "watch_fixture.h"

namespace tti::test {
namespace {

constexpr uint32_t kCreated = 7;
constexpr uint32_t kDeleted = 8;
constexpr uint32_t kMovedFrom = 10;
constexpr uint32_t kMovedTo = 11;
constexpr uint32_t kModified = 6;
constexpr uint32_t kAttributes = 3;
constexpr uint32_t kStoreFlags = 0x782;

class InotifyNaming : public ::testing::Test {
 protected:
  void TearDown() override {
    provider->Unsubscribe(receiver.get());
    EXPECT_EQ(receiver->references(), 1u);
    EXPECT_FALSE(receiver->overlapped);
  }
  void Subscribe(const std::string& path, uint32_t flags) {
    ASSERT_EQ(provider->Subscribe(receiver.get(), orv::types::string8_t(path.c_str()), flags), 0)
        << path;
  }
  // Events are read from one queue in order: once a later sentinel arrived, everything before it
  // has been delivered.
  void Flush() {
    const std::string sentinel = temporary.path() + "/sentinel";
    if (!sentinelSubscribed) {
      MakeDirectories(sentinel);
      Subscribe(sentinel, IN_CREATE);
      sentinelSubscribed = true;
    }
    const std::string file = sentinel + "/" + std::to_string(++sentinels);
    WriteFile(file);
    ASSERT_TRUE(receiver->WaitFor(file, kCreated));
  }
  std::vector<SeenEvent> EventsUnder(const std::string& prefix) const {
    std::vector<SeenEvent> found;
    for (const SeenEvent& event : receiver->events()) {
      if (event.name.rfind(prefix, 0) == 0) {
        found.push_back(event);
      }
    }
    return found;
  }

  TempDir temporary;
  orv::intrusive_ptr<InotifyEventsProvider> provider = MakeObject<InotifyEventsProvider>();
  orv::intrusive_ptr<RecordingReceiver> receiver = MakeObject<RecordingReceiver>();
  bool sentinelSubscribed = false;
  int sentinels = 0;
};

// Entries inside a directory that appears are reported as created even when they were there
// before the provider could watch the directory (made elsewhere, then moved in).
TEST_F(InotifyNaming, Subscribe_DirectoryMovedInReportsItsEntries) {
  const std::string top = temporary.path() + "/top";
  MakeDirectories(top);
  Subscribe(top, IN_CREATE | IN_MOVED_TO);
  const std::string outside = temporary.path() + "/outside";
  MakeDirectories(outside + "/profile/inner");
  WriteFile(outside + "/profile/inner/cert9.db");
  ASSERT_EQ(std::rename((outside + "/profile").c_str(), (top + "/profile").c_str()), 0);
  EXPECT_TRUE(receiver->WaitFor(top + "/profile", kMovedTo));
  EXPECT_TRUE(receiver->WaitFor(top + "/profile/inner/cert9.db", kCreated));
  // The moved directory is watched under its new name.
  WriteFile(top + "/profile/inner/key4.db");
  EXPECT_TRUE(receiver->WaitFor(top + "/profile/inner/key4.db", kCreated));
}

TEST_F(InotifyNaming, Subscribe_LinksAreNotFollowed) {
  const std::string top = temporary.path() + "/top";
  const std::string outside = temporary.path() + "/outside";
  MakeDirectories(top);
  MakeDirectories(outside);
  Subscribe(top, IN_CREATE | IN_MODIFY);
  ASSERT_EQ(symlink(outside.c_str(), (top + "/link").c_str()), 0);
  ASSERT_TRUE(receiver->WaitFor(top + "/link", kCreated));
  WriteFile(outside + "/through-link");
  WriteFile(top + "/link/second");
  Flush();
  EXPECT_TRUE(EventsUnder(top + "/link/").empty());
  EXPECT_TRUE(EventsUnder(outside).empty());
}

// The login file's directory is a link on most machines ("/var/run" to "/run"): ancestors are
// looked up through links and the name stays as written.
TEST_F(InotifyNaming, Subscribe_AncestorLinkKeepsTheWrittenName) {
  MakeDirectories(temporary.path() + "/run");
  ASSERT_EQ(symlink("run", (temporary.path() + "/varrun").c_str()), 0);
  const std::string login = temporary.path() + "/varrun/utmp";
  Subscribe(login, IN_MODIFY);
  WriteFile(temporary.path() + "/run/utmp", "");
  tti::test::AppendText(temporary.path() + "/run/utmp", "session");
  EXPECT_TRUE(receiver->WaitFor(login, kModified));
}

// A subdirectory's own events come once, under its name; moved out of the tree it is no longer
// watched, moved back in it is watched again.
TEST_F(InotifyNaming, Subscribe_SubdirectoryEventsOnceAndMovedOut) {
  const std::string top = temporary.path() + "/top";
  const std::string outside = temporary.path() + "/outside";
  MakeDirectories(top + "/sub");
  Subscribe(top, IN_ATTRIB | IN_CREATE | IN_MOVED_FROM);
  ASSERT_EQ(chmod((top + "/sub").c_str(), 0700), 0);
  ASSERT_EQ(std::rename((top + "/sub").c_str(), outside.c_str()), 0);
  ASSERT_TRUE(receiver->WaitFor(top + "/sub", kMovedFrom));
  WriteFile(outside + "/not-watched");
  ASSERT_EQ(std::rename(outside.c_str(), (top + "/back").c_str()), 0);
  WriteFile(top + "/back/watched");
  ASSERT_TRUE(receiver->WaitFor(top + "/back/watched", kCreated));
  Flush();
  const auto events = EventsUnder(top);
  ASSERT_GE(events.size(), 4u);
  EXPECT_EQ(events[0], (SeenEvent{top + "/sub", kAttributes}));
  EXPECT_EQ(events[1], (SeenEvent{top + "/sub", kMovedFrom}));
  // Moved back in, the directory's entries are reported as created, the one made outside too;
  // the walk and the kernel may both report the file made just after the move.
  std::set<std::string> created;
  for (size_t i = 2; i < events.size(); ++i) {
    EXPECT_EQ(events[i].type, kCreated);
    created.insert(events[i].name);
  }
  EXPECT_EQ(created, (std::set<std::string>{top + "/back/not-watched", top + "/back/watched"}));
}

// Only the bits asked for produce events, each with its own type.
TEST_F(InotifyNaming, Subscribe_OnlySubscribedBits) {
  const std::string file = temporary.path() + "/file";
  WriteFile(file, "before");
  Subscribe(file, IN_MODIFY);
  tti::test::ReadText(file);
  ASSERT_EQ(chmod(file.c_str(), 0600), 0);
  tti::test::AppendText(file, "after");
  Flush();
  const auto events = EventsUnder(file);
  ASSERT_FALSE(events.empty());
  for (const SeenEvent& event : events) {
    EXPECT_EQ(event, (SeenEvent{file, kModified}));
  }
}

// The name is the subscribed path as written, "/" only when it does not end in one.
TEST_F(InotifyNaming, Subscribe_NamesKeepTheSubscribedSpelling) {
  const std::string top = temporary.path() + "/top";
  MakeDirectories(top);
  Subscribe(top + "/", IN_CREATE);
  Subscribe(top, IN_CREATE);
  Subscribe(temporary.path() + "/./top", IN_CREATE);
  WriteFile(top + "/x");
  EXPECT_TRUE(receiver->WaitFor(top + "/x", kCreated));
  EXPECT_TRUE(receiver->WaitFor(temporary.path() + "/./top/x", kCreated));
  Flush();
  // One event per subscription: the trailing slash is not doubled.
  EXPECT_EQ(EventsUnder(top + "/x").size(), 2u);
  EXPECT_TRUE(EventsUnder(top + "//").empty());
}

// A store file rewritten through a temporary and a rename, then deleted and made again: the
// watch follows the path, not the first file.
TEST_F(InotifyNaming, Subscribe_StoreFileReplacedDeletedAndRecreated) {
  const std::string directory = temporary.path() + "/certs";
  const std::string bundle = directory + "/ca-certificates.crt";
  MakeDirectories(directory);
  WriteFile(bundle, "one");
  Subscribe(bundle, kStoreFlags);
  WriteFile(bundle + ".tmp", "two");
  ASSERT_EQ(std::rename((bundle + ".tmp").c_str(), bundle.c_str()), 0);
  ASSERT_TRUE(receiver->WaitFor(bundle, kMovedTo));
  tti::test::AppendText(bundle, "three");
  ASSERT_TRUE(receiver->WaitFor(bundle, kModified));
  ASSERT_EQ(unlink(bundle.c_str()), 0);
  ASSERT_TRUE(receiver->WaitFor(bundle, kDeleted));
  // Written at once after its creation: the file's own watch comes later, but its contents are
  // followed through its directory's watch.
  WriteFile(bundle, "four");
  // The temporary beside the file is not the file.
  EXPECT_TRUE(EventsUnder(bundle + ".").empty());
  // Moved away: 0x782 has no bit for that, and the file under its new name is no longer watched;
  // a new file at the path is.
  ASSERT_EQ(std::rename(bundle.c_str(), (directory + "/away").c_str()), 0);
  tti::test::AppendText(directory + "/away", "five");
  WriteFile(bundle, "");
  ASSERT_TRUE(Eventually([&] { return EventsUnder(bundle).size() == 6; }));
  tti::test::AppendText(bundle, "six");
  Flush();
  const std::vector<SeenEvent> expected = {
      {bundle, kMovedTo},  {bundle, kModified}, {bundle, kDeleted}, {bundle, kCreated},
      {bundle, kModified}, {bundle, kCreated},  {bundle, kModified}};
  EXPECT_EQ(EventsUnder(bundle), expected);
}

}  // namespace
}  // namespace tti::test
