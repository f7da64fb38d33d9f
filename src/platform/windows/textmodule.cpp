// The string resources of the module "nvtxt_b.dll" beside the library.
#include "platform/textmodule.h"

#include <windows.h>

namespace platform {

namespace {

// The module that this code is part of; null when it cannot be told.
HMODULE OwnModule() {
    constexpr DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE module = nullptr;
    GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&LoadTextFromModule), &module);
    return module;
}

// Full path of a file beside the library; empty when the library's own path is not known.
Text PathBesideLibrary(const WChar* name) {
    constexpr DWORD longestPath = 32768;
    Text path(longestPath, L'\0');
    const DWORD length = GetModuleFileNameW(OwnModule(), path.data(), longestPath);
    path.resize(length < longestPath ? length : 0);
    const std::size_t backslash = path.rfind(L'\\');
    if (backslash == Text::npos) return {};
    return path.replace(backslash + 1, Text::npos, name);
}

HMODULE LoadTextModule() {
    const Text path = PathBesideLibrary(L"nvtxt_b.dll");
    if (path.empty()) return nullptr;
    return LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
}

}  // namespace

bool LoadTextFromModule(unsigned id, Text& text) {
    static const HMODULE module = LoadTextModule();
    if (module == nullptr) return false;
    const WChar* resource = nullptr;
    // A size of 0 asks for the text in place, which is not terminated.
    const int length = LoadStringW(module, id, reinterpret_cast<WChar*>(&resource), 0);
    if (length <= 0) return false;
    text.assign(resource, static_cast<std::size_t>(length));
    return true;
}

}  // namespace platform
