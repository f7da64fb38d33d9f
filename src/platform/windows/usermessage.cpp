// Messages to the person at the machine, in a message box.
#include "platform/usermessage.h"

#include <windows.h>

namespace platform {

void ShowUserMessage(HWND owner, const Text& title, const Text& message) {
    MessageBoxW(owner, message.c_str(), title.c_str(), MB_OK | MB_ICONERROR);
}

}  // namespace platform
