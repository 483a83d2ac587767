// What a trace line costs the module: a granted line of about 100 bytes, a refused level, and a
// line that has to ask the tracer for a larger buffer. The tracer here reuses one buffer, so the
// numbers are the module's side alone.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "orv/trace_stream.h"

namespace {

class ReusingTracer final : public orv::ITracer {
 public:
  explicit ReusingTracer(uint32_t refusedLevel = 0) : m_refusedLevel(refusedLevel) {
    m_buffer.resize(4096);
  }

  uint32_t AddRef() override { return 2; }
  uint32_t Release() override { return 1; }
  result_t QueryInterface(uint32_t, void** object) override {
    *object = nullptr;
    return orv::errors::kNoInterface;
  }
  result_t GetRecord(uint32_t level, orv::TraceRecord* record, size_t size) override {
    if (level == m_refusedLevel || size > m_buffer.size()) {
      return orv::errors::kTraceLevelProhibited;
    }
    // Growth keeps the written bytes: the buffer is already large enough, so it stays in place.
    record->data = m_buffer.data();
    return 0;
  }
  result_t PutRecord(char* data, size_t length) override {
    benchmark::DoNotOptimize(data);
    m_written += length;
    return 0;
  }

  uint64_t written() const noexcept { return m_written; }

 private:
  uint32_t m_refusedLevel;
  std::vector<char> m_buffer;
  uint64_t m_written = 0;
};

void BM_GrantedLine(benchmark::State& state) {
  ReusingTracer tracer;
  uint32_t count = 0;
  for (auto _ : state) {
    ORV_TRACE(&tracer, 800) << "Cannot add certificates to /etc/ssl/certs: count " << ++count
                            << ", flags " << std::hex << 0x782u << std::dec << ", result "
                            << orv::trace::Result{orv::MakeResult(0x80010102)};
  }
  state.SetBytesProcessed(static_cast<int64_t>(tracer.written()));
}
BENCHMARK(BM_GrantedLine);

void BM_RefusedLevel(benchmark::State& state) {
  ReusingTracer tracer(800);
  uint32_t count = 0;
  for (auto _ : state) {
    ORV_TRACE(&tracer, 800) << "Cannot add certificates to /etc/ssl/certs: count " << ++count
                            << ", result " << orv::trace::Result{orv::MakeResult(0x80010102)};
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_RefusedLevel);

void BM_LineNeedingGrowth(benchmark::State& state) {
  ReusingTracer tracer;
  const std::string chunk(100, 'x');
  for (auto _ : state) {
    ORV_TRACE(&tracer, 800) << chunk << chunk << chunk << chunk << chunk << chunk << ' '
                            << orv::trace::Result{0};
  }
  state.SetBytesProcessed(static_cast<int64_t>(tracer.written()));
}
BENCHMARK(BM_LineNeedingGrowth);

}  // namespace

BENCHMARK_MAIN();
