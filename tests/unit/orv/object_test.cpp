#include "orv/object_impl.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "host/capturing_tracer.h"
#include "host/host_object.h"
#include "host/malloc_allocator.h"
#include "host/service_locator.h"
#include "orv/string.h"
#include "orv/trace_stream.h"
#include "test_interfaces.h"

namespace {

// What the next Widget does; reset by the fixture.
struct Script {
  bool throwInConstructor = false;
  bool throwInFinalConstruct = false;
  result_t finalConstructResult = 0;
  int finalReleases = 0;
  bool membersValidInFinalRelease = false;
};
Script g_script;

constexpr char kName[] = "a name longer than the inline buffer";

class Widget : public orv::ObjectModuleAutoLockTyped<Widget>,
               public orv::StandardObjectRoot,
               public IFirstTest,
               public ISecondTest {
 public:
  using Interfaces = orv::InterfaceList<IFirstTest, ISecondTest>;

  explicit Widget(orv::IServiceLocator* locator)
      : orv::StandardObjectRoot(locator), m_name(kName, GetAllocator()) {
    if (g_script.throwInConstructor) {
      throw std::length_error("in constructor");
    }
  }
  result_t FinalConstruct() {
    if (g_script.throwInFinalConstruct) {
      throw std::length_error("in FinalConstruct");
    }
    return g_script.finalConstructResult;
  }
  void FinalRelease() {
    ++g_script.finalReleases;
    g_script.membersValidInFinalRelease =
        m_name.view() == kName && GetAllocator() && GetServiceLocator();
    ORV_TRACE(GetTracer(), 800) << "FinalRelease " << m_name;
  }

  uint32_t First() override { return 1; }
  uint32_t Second() override { return 2; }

 protected:
  ~Widget() = default;

 private:
  orv::types::string8_t m_name;
};

using WidgetObject = orv::Object<Widget, orv::LocatorObjectFactory>;

class ObjectShellTest : public testing::Test {
 protected:
  void SetUp() override {
    g_script = Script{};
    m_locator->Add<orv::IAllocator>(m_allocator.get());
    m_locator->Add<orv::ITracer>(m_tracer.get());
    m_allocatorReferences = m_allocator->references();
    m_lockCount = orv::ModuleLockCount.load();
  }
  // Whatever happened, nothing of the object is left behind.
  void TearDown() override {
    EXPECT_EQ(orv::ModuleLockCount.load(), m_lockCount);
    EXPECT_EQ(m_allocator->outstanding(), 0);
    EXPECT_EQ(m_allocator->references(), m_allocatorReferences);
    EXPECT_EQ(m_tracer->openRecords(), 0u);
  }

  result_t Create(uint32_t iid, void** object) {
    return WidgetObject::CreateInstance(m_locator.get(), iid, object);
  }

  orv::intrusive_ptr<host::MallocAllocator> m_allocator = host::MakeObject<host::MallocAllocator>();
  orv::intrusive_ptr<host::CapturingTracer> m_tracer = host::MakeObject<host::CapturingTracer>();
  orv::intrusive_ptr<host::ServiceLocator> m_locator = host::MakeObject<host::ServiceLocator>();
  uint32_t m_allocatorReferences = 0;
  uint32_t m_lockCount = 0;
};

TEST_F(ObjectShellTest, Release_FinalReleaseSeesMembersThenMemoryGoesBack) {
  void* object = nullptr;
  ASSERT_EQ(Create(ISecondTest::kIid, &object), 0);
  EXPECT_EQ(m_allocator->outstanding(), 2);  // the object and its member's text
  static_cast<ISecondTest*>(object)->Release();
  EXPECT_TRUE(g_script.membersValidInFinalRelease);
  EXPECT_EQ(m_tracer->Texts(800), std::vector<std::string>{std::string("FinalRelease ") + kName});
}

// A throw is reported with the prefix as 0x8000005c; FinalConstruct's own failure is returned as
// it is, without a line. Either way the object is undone: a half-built one gets no FinalRelease, a
// built one does when its reference goes.
TEST_F(ObjectShellTest, CreateInstance_Fails_ReportedAndUndone) {
  // what the Widget does, the result, what was thrown, FinalRelease calls
  const std::tuple<Script, uint32_t, const char*, int> cases[] = {
      {Script{true}, 0x8000005c, "in constructor", 0},
      {Script{false, true}, 0x8000005c, "in FinalConstruct", 1},
      {Script{false, false, orv::MakeResult(0x80000045)}, 0x80000045, nullptr, 1}};
  for (const auto& [script, result, thrown, finalReleases] : cases) {
    g_script = script;
    m_tracer->Clear();
    void* object = nullptr;
    EXPECT_EQ(Create(0, &object), orv::MakeResult(result));
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(orv::ModuleLockCount.load(), m_lockCount);
    EXPECT_EQ(m_tracer->Texts(300),
              thrown ? std::vector<std::string>{orv::kObjectConstructionFailedText +
                                                (" " + std::string(thrown))}
                     : std::vector<std::string>{});
    EXPECT_EQ(g_script.finalReleases, finalReleases);
  }
}

TEST_F(ObjectShellTest, CreateInstance_NoTracerService_GetInterfaceExceptionCode) {
  m_locator->Remove(orv::ITracer::kIid);
  void* object = &object;
  EXPECT_EQ(Create(0, &object), orv::MakeResult(0x8000004c));
  EXPECT_EQ(m_locator->Requests(orv::ITracer::kIid), 2u);  // the root, then the report
  EXPECT_EQ(m_tracer->opens(), 0u);
}

}  // namespace
