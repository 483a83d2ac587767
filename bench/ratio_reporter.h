#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

// The console output, and the time of each case kept for the ratio lines a benchmark prints at
// the end: under the case's whole name and under the part before its first '/' (the last run of
// that name wins). CPU time is steadier on a shared machine; real time counts what a child
// process or the disk adds.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  enum class Clock { kCpu, kReal };
  explicit RatioReporter(Clock clock = Clock::kCpu) : m_clock(clock) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      const std::string name = run.benchmark_name();
      const double time =
          m_clock == Clock::kCpu ? run.GetAdjustedCPUTime() : run.GetAdjustedRealTime();
      m_times[name] = time;
      m_times[name.substr(0, name.find('/'))] = time;
    }
  }

  std::map<std::string, double> m_times;

 private:
  Clock m_clock;
};
