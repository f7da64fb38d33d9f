// What the platform's load and unload notifications call.
#pragma once

#include "platform/types.h"

namespace platform {

/// Why the library entry is called, by the platform's numbers.
enum class LibraryEntryReason : DWORD { ProcessDetach = 0, ProcessAttach = 1, ThreadAttach = 2, ThreadDetach = 3 };

}  // namespace platform
