// A library that is loaded by its path while the object lives.
#include "support/platform/loadedlibrary.h"

#include <windows.h>

LoadedLibrary::LoadedLibrary(const char* path) : m_library(LoadLibraryA(path)) {}

LoadedLibrary::~LoadedLibrary() {
    if (m_library != nullptr) FreeLibrary(static_cast<HMODULE>(m_library));
}

bool LoadedLibrary::IsInProcess(const char* path) {
    return GetModuleHandleA(path) != nullptr;
}

void (*LoadedLibrary::Find(const char* name) const)() {
    if (m_library == nullptr) return nullptr;
    return reinterpret_cast<void (*)()>(GetProcAddress(static_cast<HMODULE>(m_library), name));
}
