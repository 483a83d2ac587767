#pragma once

// Two interfaces of no meaning of their own, for the object shells: each answers with its number.
#include <cstdint>

#include "orv/object.h"

struct IFirstTest : orv::IObject {
  static constexpr uint32_t kIid = 0x7e570001;
  virtual uint32_t First() = 0;

 protected:
  ~IFirstTest() = default;
};

struct ISecondTest : orv::IObject {
  static constexpr uint32_t kIid = 0x7e570002;
  virtual uint32_t Second() = 0;

 protected:
  ~ISecondTest() = default;
};
