// Modules by name: the system's own dynamic libraries.
#include "platform/module.h"

#include <windows.h>

namespace platform {

// Only the system's folder is searched: the process may run with a current folder that others can write to.
Module LoadModule(const char* name) {
    return LoadLibraryExA(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}

ModuleFunction FindModuleFunction(Module module, const char* name) {
    if (module == nullptr) return nullptr;
    const FARPROC function = GetProcAddress(static_cast<HMODULE>(module), name);
    return reinterpret_cast<ModuleFunction>(reinterpret_cast<void*>(function));
}

void UnloadModule(Module module) {
    if (module != nullptr) FreeLibrary(static_cast<HMODULE>(module));
}

}  // namespace platform
