// A library that is loaded by its path while the object lives.
#include "support/platform/loadedlibrary.h"

#include <dlfcn.h>

LoadedLibrary::LoadedLibrary(const char* path) : m_library(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {}

LoadedLibrary::~LoadedLibrary() {
    if (m_library != nullptr) dlclose(m_library);
}

bool LoadedLibrary::IsInProcess(const char* path) {
    void* const library = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr) dlclose(library);
    return library != nullptr;
}

void (*LoadedLibrary::Find(const char* name) const)() {
    return m_library != nullptr ? reinterpret_cast<void (*)()>(dlsym(m_library, name)) : nullptr;
}
