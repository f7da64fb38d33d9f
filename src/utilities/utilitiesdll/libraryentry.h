// What is known about the library's load.
#pragma once

#include "platform/types.h"

/// Recorded when the library was loaded into the process.
struct LibraryLoad {
    HINSTANCE module;  ///< The library's own module handle; null where the platform has none.
    DWORD tickCount;   ///< GetMonotonicTickCount at the load.
};

NVUTIL_API LibraryLoad GetLibraryLoad();

/// Milliseconds of a clock that never goes back; starts again at 0 after 49.7 days.
NVUTIL_API DWORD GetMonotonicTickCount();
