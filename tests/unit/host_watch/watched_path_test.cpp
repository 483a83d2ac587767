// One subscription's watches driven by hand: what happens after the kernel lost events.
#include "host/watched_path.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>

#include <algorithm>
#include <filesystem>

#include "watch_fixture.h"

namespace tti::test {
namespace {

using host::InotifyInstance;
using host::WatchedPath;
using host::WatchNotice;
using host::WatchRegistry;

bool Has(const std::vector<WatchNotice>& notices, const std::string& name, uint32_t type) {
  return std::any_of(notices.begin(), notices.end(), [&](const WatchNotice& notice) {
    return notice.name == name && notice.type == type;
  });
}

// Nothing reads the instance here, as if its events were lost: Restart watches the directories
// made meanwhile and reports their entries as created, but not the entries of directories it
// watched already, and drops the watches of directories that went.
TEST(WatchedPath, Restart_ReportsOnlyWhatItDidNotWatchBefore) {
  TempDir temporary;
  const std::string top = temporary.path() + "/top";
  MakeDirectories(top + "/known");
  MakeDirectories(top + "/gone");
  InotifyInstance instance;
  WatchRegistry registry(instance);
  WatchedPath watched(1, top, IN_CREATE);
  ASSERT_TRUE(watched.Start(registry));
  EXPECT_EQ(registry.size(), 4u);  // the anchor, top, known and gone

  WriteFile(top + "/known/file");
  MakeDirectories(top + "/new/deeper");
  WriteFile(top + "/new/deeper/cert9.db");
  std::filesystem::remove_all(top + "/gone");
  std::vector<WatchNotice> notices;
  watched.Restart(registry, notices);

  EXPECT_TRUE(Has(notices, top + "/new/deeper", 7));
  EXPECT_TRUE(Has(notices, top + "/new/deeper/cert9.db", 7));
  EXPECT_FALSE(Has(notices, top + "/known/file", 7));
  EXPECT_FALSE(Has(notices, top + "/new", 7));  // top was watched: its entries were seen
  EXPECT_EQ(registry.size(), 5u);               // the anchor, top, known, new and deeper
  watched.Stop(registry);
  EXPECT_EQ(registry.size(), 0u);
}

}  // namespace
}  // namespace tti::test
