// The per-connection fast paths against the plain ways under random input. The first byte picks:
// even, the rest is a server's certificate blob (remembered facts and PEM against OpenSSL); odd,
// the rest is a page: template and slot values split at NUL bytes, where bytes 1 to 11 stand for
// the placeholders, so that templates and values full of them are cheap to find.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/fast_path_oracle.h"

namespace {

namespace tci = qel::tcp_traffic_interceptor;

std::string Expand(const std::string& piece) {
  std::string text;
  for (const char byte : piece) {
    if (byte >= 1 && byte <= static_cast<char>(tci::kPageSlotCount)) {
      text.append(tci::PageTemplate::Placeholder(static_cast<size_t>(byte) - 1));
    } else {
      text.push_back(byte);
    }
  }
  return text;
}

std::string ComparePage(const uint8_t* data, size_t size) {
  std::vector<std::string> pieces(1);
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == 0 && pieces.size() <= tci::kPageSlotCount) {
      pieces.emplace_back();
    } else {
      pieces.back().push_back(static_cast<char>(data[i]));
    }
  }
  tci::PageValues values;
  values.steps = pieces.size() - 1;
  for (size_t slot = 0; slot < values.steps; ++slot) {
    values.values[slot] = Expand(pieces[slot + 1]);
  }
  return tti::test::ComparePagePaths(Expand(pieces[0]), values);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::string difference = data[0] % 2 == 0
                                     ? tti::test::CompareCertificatePaths(data + 1, size - 1)
                                     : ComparePage(data + 1, size - 1);
  if (!difference.empty()) {
    std::fprintf(stderr, "fast and plain paths differ: %s\n", difference.c_str());
    std::abort();
  }
  return 0;
}
