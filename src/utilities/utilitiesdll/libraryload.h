// What is remembered of the library's load into the process.
#pragma once

#include "platform/internalapi.h"
#include "platform/types.h"

/// What is remembered of the library's load.
struct LibraryLoad {
    HINSTANCE module;  ///< The library's own module handle; null where the platform has none.
    DWORD tickCount;   ///< The load time in milliseconds, as GetTickCountNow gives it.
};

/// The library's load into this process.
NVUTIL_INTERNAL_API LibraryLoad GetLibraryLoad();

/// Remembers the load; for the library's entry.
void SetLibraryLoad(const LibraryLoad& load);

/// Milliseconds of a clock that never goes back, except that it begins again at 0 after 49.7 days.
NVUTIL_INTERNAL_API DWORD GetTickCountNow();
