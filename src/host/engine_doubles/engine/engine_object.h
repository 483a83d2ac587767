#pragma once

#include "host/host_object.h"

namespace engine {

// The engine's connection objects have no identifier: the host shell answers them for 0 only.
template <class Interface>
using EngineObject = host::HostObject<Interface>;

}  // namespace engine
