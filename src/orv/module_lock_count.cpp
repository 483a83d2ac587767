#include "orv/module_lock.h"

namespace orv {

std::atomic<uint32_t> ModuleLockCount{0};

}  // namespace orv
