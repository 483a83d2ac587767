#include <sys/syscall.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host/host_object.h"
#include "host/stderr_tracer.h"
#include "support/scratch.h"

namespace host {
namespace {

// A temporary file the tracer writes to; Written() reads all it holds through a fresh open.
class Output {
 public:
  int fd() const { return fileno(m_file.get()); }
  std::string Written() const {
    return tti::test::ReadText("/proc/self/fd/" + std::to_string(fd()));
  }

 private:
  std::unique_ptr<FILE, int (*)(FILE*)> m_file{std::tmpfile(), &std::fclose};
};

void Emit(orv::ITracer& tracer, uint32_t level, const std::string& text) {
  orv::TraceRecord record;
  ASSERT_EQ(tracer.GetRecord(level, &record, 512), 0);
  ASSERT_NE(record.data, nullptr);
  std::memcpy(record.data, text.data(), text.size());
  ASSERT_EQ(tracer.PutRecord(record.data, text.size()), 0);
}

// The whole line at level 300; a level above the threshold refused until it is raised; a grown
// record keeps what was written before the growth.
TEST(StderrTracerTest, PutRecord_LineShapeThresholdAndGrowth) {
  Output output;
  auto tracer = MakeObject<StderrTracer>(500, output.fd());
  Emit(*tracer, 300, "UpdateServiceSettingsSync() serviceKey=0xb10fd857, sync=1");
  const std::string tid = std::to_string(syscall(SYS_gettid));
  const std::regex shape(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{6} T)" + tid +
                         R"( ERROR UpdateServiceSettingsSync\(\) serviceKey=0xb10fd857, sync=1\n)");
  EXPECT_TRUE(std::regex_match(output.Written(), shape)) << output.Written();

  char sentinel = 0;
  orv::TraceRecord record{&sentinel, nullptr};
  EXPECT_EQ(tracer->GetRecord(800, &record, 512), orv::errors::kTraceLevelProhibited);
  EXPECT_EQ(record.data, nullptr);
  tracer->SetThreshold(800);
  Emit(*tracer, 800, "now granted");
  EXPECT_NE(output.Written().find("DETAIL now granted\n"), std::string::npos);

  ASSERT_EQ(tracer->GetRecord(500, &record, 16), 0);
  std::memcpy(record.data, "0123456789abcdef", 16);
  ASSERT_EQ(tracer->GetRecord(orv::trace_level::kGrow, &record, 8192), 0);
  std::memset(record.data + 16, 'x', 8192 - 16);
  ASSERT_EQ(tracer->PutRecord(record.data, 8192), 0);
  EXPECT_NE(output.Written().find(" WARNING 0123456789abcdef" + std::string(8192 - 16, 'x') + "\n"),
            std::string::npos);
}

// Above the threshold only the lines with the passed prefix are written; the others are made and
// dropped.
TEST(StderrTracerTest, PassAboveThreshold_WritesOnlyLinesWithThePrefix) {
  Output output;
  auto tracer = MakeObject<StderrTracer>(500, output.fd());
  tracer->PassAboveThreshold("Add cert to ");
  Emit(*tracer, 800, "cache size 3");
  Emit(*tracer, 800, "Add cert to /home/a/.pki/nssdb/cert9.db");
  Emit(*tracer, 500, "Cannot add certificate to /b");
  const std::string written = output.Written();
  EXPECT_EQ(written.find("cache size"), std::string::npos) << written;
  EXPECT_NE(written.find(" DETAIL Add cert to /home/a/.pki/nssdb/cert9.db\n"), std::string::npos);
  EXPECT_NE(written.find(" WARNING Cannot add certificate to /b\n"), std::string::npos);
}

TEST(StderrTracerTest, PutRecord_ManyThreads_LinesNeverInterleave) {
  // A regular file shares one offset between the writers; a line split over two writes would
  // show up as a torn line.
  Output output;
  auto tracer = MakeObject<StderrTracer>(800, output.fd());
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
  const std::regex shape(R"(\S+ \S+ T\d+ DETAIL thread \d line \d+)");
  std::istringstream lines(output.Written());
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    EXPECT_TRUE(std::regex_match(line, shape)) << line;
  }
  EXPECT_EQ(count, kThreads * kLines);
  EXPECT_EQ(output.Written().back(), '\n');
}

}  // namespace
}  // namespace host
