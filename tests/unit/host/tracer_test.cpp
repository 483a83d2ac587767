#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <ostream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "host/capturing_tracer.h"
#include "host/host_object.h"
#include "host/stderr_tracer.h"

namespace host {
namespace {

// A pipe whose write end the tracer gets; the test reads what arrived.
class Pipe {
 public:
  Pipe() { EXPECT_EQ(pipe2(m_ends, O_CLOEXEC | O_NONBLOCK), 0); }
  ~Pipe() {
    close(m_ends[0]);
    close(m_ends[1]);
  }
  int writeEnd() const { return m_ends[1]; }
  std::string Drain() const {
    std::string text;
    char buffer[4096];
    ssize_t got;
    while ((got = read(m_ends[0], buffer, sizeof(buffer))) > 0) {
      text.append(buffer, static_cast<size_t>(got));
    }
    return text;
  }

 private:
  int m_ends[2] = {-1, -1};
};

void Emit(orv::ITracer& tracer, uint32_t level, const std::string& text) {
  orv::TraceRecord record;
  ASSERT_EQ(tracer.GetRecord(level, &record, 512), 0);
  ASSERT_NE(record.data, nullptr);
  std::memcpy(record.data, text.data(), text.size());
  ASSERT_EQ(tracer.PutRecord(record.data, text.size()), 0);
}

struct LevelCase {
  uint32_t level;
  const char* name;
};
void PrintTo(const LevelCase& value, std::ostream* out) { *out << value.name; }

class StderrTracerLineTest : public ::testing::TestWithParam<LevelCase> {};

TEST_P(StderrTracerLineTest, PutRecord_GrantedLevel_WritesOneLine) {
  Pipe pipe;
  auto tracer = MakeObject<StderrTracer>(800, pipe.writeEnd());
  Emit(*tracer, GetParam().level, "UpdateServiceSettingsSync() serviceKey=0xb10fd857, sync=1");
  const std::string tid = std::to_string(syscall(SYS_gettid));
  const std::regex shape(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{6} T)" + tid + " " +
                         GetParam().name +
                         R"( UpdateServiceSettingsSync\(\) serviceKey=0xb10fd857, sync=1\n)");
  const std::string written = pipe.Drain();
  EXPECT_TRUE(std::regex_match(written, shape)) << written;
}

INSTANTIATE_TEST_SUITE_P(Levels, StderrTracerLineTest,
                         ::testing::Values(LevelCase{300, "ERROR"}, LevelCase{500, "WARNING"},
                                           LevelCase{800, "DETAIL"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(StderrTracerTest, GetRecord_AboveThreshold_RefusedWithNullData) {
  Pipe pipe;
  auto tracer = MakeObject<StderrTracer>(500, pipe.writeEnd());
  char sentinel = 0;
  orv::TraceRecord record{&sentinel, nullptr};
  EXPECT_EQ(tracer->GetRecord(800, &record, 512), orv::errors::kTraceLevelProhibited);
  EXPECT_EQ(record.data, nullptr);
  tracer->SetThreshold(800);
  Emit(*tracer, 800, "now granted");
  EXPECT_NE(pipe.Drain().find("DETAIL now granted\n"), std::string::npos);
}

TEST(StderrTracerTest, GetRecord_Grow_KeepsWrittenBytes) {
  Pipe pipe;
  auto tracer = MakeObject<StderrTracer>(800, pipe.writeEnd());
  orv::TraceRecord record;
  ASSERT_EQ(tracer->GetRecord(500, &record, 16), 0);
  std::memcpy(record.data, "0123456789abcdef", 16);
  ASSERT_EQ(tracer->GetRecord(orv::trace_level::kGrow, &record, 8192), 0);
  std::memset(record.data + 16, 'x', 8192 - 16);
  ASSERT_EQ(tracer->PutRecord(record.data, 8192), 0);
  const std::string written = pipe.Drain();
  EXPECT_NE(written.find(" WARNING 0123456789abcdef" + std::string(8192 - 16, 'x') + "\n"),
            std::string::npos);
}

TEST(StderrTracerTest, PutRecord_ManyThreads_LinesNeverInterleave) {
  // A regular file shares one offset between the writers; a line split over two writes would
  // show up as a torn line.
  FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  auto tracer = MakeObject<StderrTracer>(800, fileno(file));
  constexpr int kThreads = 4;
  constexpr int kLines = 200;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&tracer, t] {
      for (int i = 0; i < kLines; ++i) {
        Emit(*tracer, 800, "thread " + std::to_string(t) + " line " + std::to_string(i));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::rewind(file);
  const std::regex shape(R"(\S+ \S+ T\d+ DETAIL thread \d line \d+)");
  char line[256];
  int count = 0;
  while (std::fgets(line, sizeof(line), file)) {
    std::string text(line);
    ASSERT_FALSE(text.empty());
    ASSERT_EQ(text.back(), '\n');
    text.pop_back();
    EXPECT_TRUE(std::regex_match(text, shape)) << text;
    ++count;
  }
  EXPECT_EQ(count, kThreads * kLines);
  std::fclose(file);
}

TEST(CapturingTracerTest, GetRecord_RefusedGrowthAndLevel_KeepOpenBufferAndCount) {
  auto tracer = MakeObject<CapturingTracer>();
  tracer->RefuseLevel(800);
  tracer->RefuseGrowth(true);
  orv::TraceRecord refused;
  EXPECT_EQ(tracer->GetRecord(800, &refused, 512), orv::errors::kTraceLevelProhibited);
  EXPECT_EQ(refused.data, nullptr);

  orv::TraceRecord record;
  ASSERT_EQ(tracer->GetRecord(300, &record, 512), 0);
  char* open = record.data;
  std::memcpy(open, "kept", 4);
  EXPECT_EQ(tracer->GetRecord(orv::trace_level::kGrow, &record, 1024), orv::errors::kOutOfMemory);
  EXPECT_EQ(record.data, open);
  EXPECT_EQ(tracer->openRecords(), 1u);
  ASSERT_EQ(tracer->PutRecord(record.data, 4), 0);

  EXPECT_EQ(tracer->Texts(300), std::vector<std::string>{"kept"});
  EXPECT_EQ(tracer->opens(), 2u);
  EXPECT_EQ(tracer->grants(), 1u);
  EXPECT_EQ(tracer->growths(), std::vector<size_t>{1024});
  EXPECT_EQ(tracer->openRecords(), 0u);
}

}  // namespace
}  // namespace host
