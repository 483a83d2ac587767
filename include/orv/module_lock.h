#pragma once

#include <atomic>
#include <cstdint>

namespace orv {

// One count per live object or factory of this module; the module may be unloaded at zero.
extern std::atomic<uint32_t> ModuleLockCount;

inline void ModuleLock() noexcept { ModuleLockCount.fetch_add(1, std::memory_order_seq_cst); }
inline void ModuleUnlock() noexcept { ModuleLockCount.fetch_sub(1, std::memory_order_seq_cst); }

// Marker base of every object class of the module: the shells keep its one count.
template <class T>
class ObjectModuleAutoLockTyped {};

}  // namespace orv
