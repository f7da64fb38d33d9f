// Text as the platform services take and return it; below the library's own string class.
#pragma once

#include <string>

#include "platform/types.h"

namespace platform {

using Text = std::basic_string<WChar>;

}  // namespace platform
