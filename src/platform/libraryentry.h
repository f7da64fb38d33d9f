// What the platform's load and unload notifications call.
#pragma once

#include "platform/types.h"

namespace platform {

/// Why the library entry is called, by the platform's numbers.
enum class LibraryEntryReason : DWORD {
    ProcessDetach = 0,  ///< The library is unloaded, and the process goes on without it.
    ProcessAttach = 1,
    ThreadAttach = 2,
    ThreadDetach = 3,
    /// The process ends while other threads may still run; the library's own number.
    ProcessExit = 100,
};

/// The library's side of its load and unload; the platform part calls it, the library defines it.
/// @param module  the library's own module handle; null where the platform has none
/// @return whether the library may be loaded; always true
bool LibraryEntry(LibraryEntryReason reason, HINSTANCE module);

}  // namespace platform
