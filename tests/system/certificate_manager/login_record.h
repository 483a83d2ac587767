#pragma once

#include "sandbox/machine.h"

namespace certificate_manager_system {

using host::sandbox::LogIn;

}  // namespace certificate_manager_system
