// The entry that the system's loader calls.
#include "platform/libraryentry.h"

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    // All other threads have been ended wherever they were, with every lock that they held, and the system
    // takes back what they had: waiting now could last for ever.
    const bool isProcessEnding = reason == DLL_PROCESS_DETACH && reserved != nullptr;
    if (isProcessEnding) return TRUE;
    return platform::LibraryEntry(static_cast<platform::LibraryEntryReason>(reason), module) ? TRUE : FALSE;
}
