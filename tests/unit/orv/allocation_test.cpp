// Heap use of the framework: a trace line of up to 512 bytes costs the module no allocation, and
// running out of memory while building an exception leaks nothing. This binary replaces the global
// operator new to count and to fail calls, so it holds nothing but these tests.

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

#include <gtest/gtest.h>

#include "orv/exception.h"
#include "orv/trace_stream.h"

namespace {

std::atomic<bool> g_counting{false};
std::atomic<uint64_t> g_news{0};
std::atomic<int64_t> g_live{0};        // allocations minus frees while counting
std::atomic<int64_t> g_failAfter{-1};  // allocations allowed while counting; -1: no limit

void* CountedNew(size_t size) {
  if (g_counting.load()) {
    if (g_failAfter.load() == 0) {
      throw std::bad_alloc();
    }
    if (g_failAfter.load() > 0) {
      --g_failAfter;
    }
    ++g_news;
    ++g_live;
  }
  if (void* memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}

}  // namespace

void* operator new(size_t size) { return CountedNew(size); }
void* operator new[](size_t size) { return CountedNew(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  try {
    return CountedNew(size);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* memory) noexcept {
  if (memory && g_counting.load()) {
    --g_live;
  }
  std::free(memory);
}
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete(void* memory, size_t) noexcept { operator delete(memory); }
void operator delete[](void* memory, size_t) noexcept { operator delete(memory); }

namespace {

// Hands out one static buffer and keeps nothing on the heap.
class StaticTracer final : public orv::ITracer {
 public:
  uint32_t AddRef() override { return 2; }
  uint32_t Release() override { return 1; }
  result_t QueryInterface(uint32_t, void** object) override {
    *object = nullptr;
    return orv::errors::kNoInterface;
  }
  result_t GetRecord(uint32_t level, orv::TraceRecord* record, size_t size) override {
    ++getRecords;
    if (size > sizeof(buffer)) {
      return orv::errors::kTraceLevelProhibited;
    }
    record->data = buffer;
    return 0;
  }
  result_t PutRecord(char*, size_t length) override {
    ++putRecords;
    lastLength = length;
    return 0;
  }

  char buffer[512];
  uint64_t getRecords = 0;
  uint64_t putRecords = 0;
  size_t lastLength = 0;
};

TEST(TraceAllocation, Trace_LineOfAbout500Bytes_NoOperatorNew) {
  StaticTracer tracer;
  constexpr std::string_view kText =
      "certificate store /home/someone/.pki/nssdb/cert9.db could not be opened; ";
  g_news = 0;
  g_counting = true;
  ORV_TRACE(&tracer, 500) << kText << kText << kText << kText << kText << kText << "count "
                          << 123456789u << ' ' << -42 << ' ' << std::hex << std::showbase
                          << 0xdeadbeefULL << ' ' << orv::trace::Result{orv::MakeResult(0x80010102)}
                          << ' ' << orv::trace::Width{12} << 7;
  g_counting = false;
  EXPECT_EQ(g_news.load(), 0u);
  EXPECT_EQ(tracer.getRecords, 1u);  // no growth asked
  EXPECT_EQ(tracer.putRecords, 1u);
  EXPECT_GE(tracer.lastLength, 500u);
  EXPECT_LE(tracer.lastLength, 512u);
}

template <class Construct>
void ExpectNoLeakWhenMemoryRunsOut(Construct construct) {
  // Fail the first allocation, then the second, and so on, until construction succeeds.
  for (int64_t allowed = 0;; ++allowed) {
    g_live = 0;
    g_failAfter = allowed;
    g_counting = true;
    bool ranOut = false;
    try {
      construct();
    } catch (const std::bad_alloc&) {
      ranOut = true;
    }
    g_counting = false;
    g_failAfter = -1;
    EXPECT_EQ(g_live.load(), 0) << "allocation " << allowed << " failed";
    if (!ranOut) {
      break;
    }
  }
}

TEST(ExceptionAllocation, Construction_OutOfMemory_FreesWhatItBuilt) {
  ExpectNoLeakWhenMemoryRunsOut([] {
    orv::CheckResultFailedException("f.cpp", 1, "Expression failed", orv::MakeResult(0x80000042));
  });
  ExpectNoLeakWhenMemoryRunsOut([] {
    orv::GetInterfaceException("f.cpp", 1, "Can't get interface", 1, 0,
                               orv::MakeResult(0x8000004c));
  });
  ExpectNoLeakWhenMemoryRunsOut([] {
    orv::ResultCodeException("f.cpp", 1, orv::MakeResult(0x80000046), u"Invalid timestamp: epoch");
  });
}

}  // namespace
