#pragma once

#include <cstddef>

// A view of bytes; owns nothing. Both pointers may be null for an empty range.
struct const_blob_range_t {
  const unsigned char* begin = nullptr;
  const unsigned char* end = nullptr;

  size_t size() const noexcept { return static_cast<size_t>(end - begin); }
  bool empty() const noexcept { return begin == end; }
};

static_assert(sizeof(const_blob_range_t) == 16);
