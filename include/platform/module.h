// Modules loaded by name and the functions they export.
#pragma once

#include "platform/types.h"

namespace platform {

/// A loaded module; null when there is none.
using Module = void*;
/// A function of a module, to be cast to its real type.
using ModuleFunction = void (*)();

/// Loads a module, for example "cabinet.dll", from the system or from the table of built-in modules.
/// @return the module, to be released with UnloadModule, or null when there is none of that name
NVUTIL_API Module LoadModule(const char* name);

/// Finds an exported function by its name; null when the module has none.
NVUTIL_API ModuleFunction FindModuleFunction(Module module, const char* name);

/// Releases a module that LoadModule returned. Null is ignored.
NVUTIL_API void UnloadModule(Module module);

}  // namespace platform
