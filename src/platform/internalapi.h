// What our own tool and tests need of the library beyond its interface.
#pragma once

#include "platform/types.h"

/// Exported like the interface, but not part of it: no header in include/ names it, and it changes at will.
#define NVUTIL_INTERNAL_API NVUTIL_API
