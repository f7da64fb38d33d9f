// Facts about the running process and thread.
#include "platform/process.h"

#include <windows.h>

namespace platform {

namespace {

// The longest path that the platform can have.
constexpr std::size_t maximumPathLength = 32768;

}  // namespace

DWORD CurrentThreadId() {
    return GetCurrentThreadId();
}

Text HostModuleName() {
    Text path(MAX_PATH, L'\0');
    DWORD length = 0;
    while ((length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()))) ==
               path.size() &&
           path.size() < maximumPathLength) {
        path.resize(path.size() * 2);
    }
    path.resize(length);
    return path.substr(path.find_last_of(L"\\/") + 1);
}

bool IsPossiblyNonInteractive() {
    USEROBJECTFLAGS flags{};
    const HWINSTA station = GetProcessWindowStation();
    return station == nullptr ||
           GetUserObjectInformationW(station, UOI_FLAGS, &flags, sizeof flags, nullptr) == FALSE ||
           (flags.dwFlags & WSF_VISIBLE) == 0;
}

}  // namespace platform
