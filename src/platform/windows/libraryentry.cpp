// The entry that the system's loader calls.
#include "platform/libraryentry.h"

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    return platform::LibraryEntry(static_cast<platform::LibraryEntryReason>(reason), module) ? TRUE : FALSE;
}
