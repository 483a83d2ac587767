#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <random>

#include <gtest/gtest.h>

namespace tti::test {

// A store rewritten through a temporary and a rename: a writer process that flips between two
// contents (`write(true)` the new one, `write(false)` the old one) is killed at a random moment,
// `rounds` times. Between 1 and 10 reads while it runs, and one after its death, must each find a
// whole store (`whole()`), never a part.
inline void ExpectWholeAfterKilledWriters(const std::function<void(bool useNew)>& write,
                                          const std::function<bool()>& whole, int rounds = 20) {
  std::mt19937 random(std::random_device{}());
  for (int round = 0; round < rounds; ++round) {
    std::fflush(stdout);
    const pid_t writer = ::fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
      for (bool useNew = true;; useNew = !useNew) {
        write(useNew);
      }
    }
    const int reads = std::uniform_int_distribution<int>(1, 10)(random);
    for (int read = 0; read < reads; ++read) {
      EXPECT_TRUE(whole()) << "round " << round << " read " << read;
    }
    ::kill(writer, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(writer, &status, 0), writer);
    ASSERT_TRUE(whole()) << "round " << round << " after the kill";
  }
}

}  // namespace tti::test
