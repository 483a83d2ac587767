#pragma once

#include <atomic>
#include <cstdint>

#include "orv/object.h"
#include "orv/result.h"

namespace engine {

// The shell of an engine object: an atomic count, `delete this` at zero, and QueryInterface that
// answers identifier 0 with the one interface (the engine's connection objects have no identifier).
template <class Interface>
class EngineObject : public Interface {
 public:
  EngineObject(const EngineObject&) = delete;
  EngineObject& operator=(const EngineObject&) = delete;

  uint32_t AddRef() override { return m_references.fetch_add(1) + 1; }
  uint32_t Release() override {
    const uint32_t count = m_references.fetch_sub(1) - 1;
    if (count == 0) {
      delete this;
    }
    return count;
  }
  result_t QueryInterface(uint32_t iid, void** object) override {
    if (iid != 0) {
      *object = nullptr;
      return orv::errors::kNoInterface;
    }
    *object = static_cast<Interface*>(this);
    AddRef();
    return orv::errors::kOk;
  }
  uint32_t references() const noexcept { return m_references.load(); }

 protected:
  EngineObject() = default;
  virtual ~EngineObject() = default;

 private:
  std::atomic<uint32_t> m_references{1};
};

}  // namespace engine
