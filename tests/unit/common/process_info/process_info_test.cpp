#include "qel/tools/process_info.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "host/host_services.h"
#include "support/scratch.h"

namespace qel::tools {
namespace {

class ProcessInfo : public testing::Test {
 protected:
  ProcessInfo()
      : m_tracer(host::MakeObject<host::CapturingTracer>()),
        m_host(host::HostServices::Create(m_tracer.get())) {}

  orv::IServiceLocator* locator() { return m_host.locator.get(); }

  orv::intrusive_ptr<host::CapturingTracer> m_tracer;
  host::HostServices m_host;
};

// A child that turns into `uid` and sleeps until killed (async-signal-safe calls only).
class ChildUnderUid {
 public:
  explicit ChildUnderUid(uid_t uid) : m_pid(fork()) {
    if (m_pid == 0) {
      if (setresgid(uid, uid, uid) == 0 && setresuid(uid, uid, uid) == 0) {
        pause();
      }
      _exit(1);
    }
  }
  ~ChildUnderUid() { Reap(); }
  void Reap() {
    if (m_pid > 0) {
      kill(m_pid, SIGKILL);
      waitpid(m_pid, nullptr, 0);
      m_pid = -1;
    }
  }
  pid_t pid() const { return m_pid; }

 private:
  pid_t m_pid;
};

TEST_F(ProcessInfo, UserOfAChildUnderAnotherUid) {
  ASSERT_EQ(geteuid(), 0u) << "the test starts a child under another uid and must run as root";
  ChildUnderUid child(65534);
  ASSERT_TRUE(tti::test::Eventually([&] {
    return tti::test::ReadText("/proc/" + std::to_string(child.pid()) + "/status")
               .find("\nUid:\t65534\t") != std::string::npos;
  }));
  const orv::optional_t<UserInfo> user = GetUserByPid(locator(), child.pid());
  ASSERT_TRUE(user.has_value());
  EXPECT_EQ(user->uid, 65534u);
  EXPECT_EQ(user->name, std::u16string_view(u"nobody"));

  ProcessInformation information;
  ASSERT_EQ(GetProcessInfo(locator(), child.pid(), information), 0);
  const uint64_t uniquePid = information.uniquePid;
  int32_t pid = -1;
  GetPid(locator(), uniquePid, pid);
  EXPECT_EQ(pid, child.pid());
  EXPECT_TRUE(m_tracer->Contains("GetPid: uniquePid " + std::to_string(uniquePid) +
                                 " corresponds to pid " + std::to_string(child.pid())));

  // Once the process is gone its unique id answers nothing, and pid stays as it was.
  child.Reap();
  pid = -1;
  GetPid(locator(), uniquePid, pid);
  EXPECT_EQ(pid, -1);
  EXPECT_TRUE(m_tracer->Contains("Failed to get IProcessInformation for uniquePid " +
                                 std::to_string(uniquePid)));
}

TEST_F(ProcessInfo, NoProcessOrNoManager_NoUserAndOneErrorLinePerStep) {
  int32_t pid = -1;
  GetPid(locator(), 999999, pid);
  EXPECT_EQ(pid, -1);
  EXPECT_FALSE(GetUserByPid(locator(), pid).has_value());
  const std::vector<std::string> errors = m_tracer->Texts(300);
  ASSERT_EQ(errors.size(), 3u);
  EXPECT_NE(errors[0].find("(processManager->GetInformationByUniqueId(uniquePid, "
                           "processInformation.Ref()))"),
            std::string::npos);
  EXPECT_NE(errors[1].find("(manager->GetInformation(pid, process.Ref())),(ORV_SUCCEEDED(_result)) "
                           "failed: result = 0x8000004c"),
            std::string::npos);
  EXPECT_NE(errors[1].find("Cannot get IProcessInformation for pid: -1"), std::string::npos);
  EXPECT_NE(errors[2].find("(GetProcessInfo(sl, pid, info))"), std::string::npos);

  // No process manager at all.
  m_host.locator->Remove(IProcessManager::kIid);
  pid = 5;
  GetPid(locator(), 1, pid);
  EXPECT_EQ(pid, 5);
  EXPECT_TRUE(m_tracer->Contains("(orv::GetInterface(sl, processManager.Ref()))"));
  EXPECT_TRUE(m_tracer->Contains("Failed to get IProcessManager"));
  ProcessInformation info;
  EXPECT_EQ(GetProcessInfo(locator(), getpid(), info), orv::errors::kNotFound);
  EXPECT_TRUE(m_tracer->Contains("Cannot get IProcessManager interface"));
}

}  // namespace
}  // namespace qel::tools
