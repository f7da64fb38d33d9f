// A library that is loaded by its path while the object lives.
#pragma once

class LoadedLibrary {
public:
    explicit LoadedLibrary(const char* path);
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;
    ~LoadedLibrary();

    /// The address of an exported function; null when there is none, or no library.
    void (*Find(const char* name) const)();

    /// Whether the process has the library at all, through whatever object.
    static bool IsInProcess(const char* path);

private:
    void* m_library;
};
