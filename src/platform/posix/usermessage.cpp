// Messages to the person at the machine, on the standard error stream.
#include "platform/usermessage.h"

#include "platform/posix/standarderror.h"

namespace platform {

void ShowUserMessage(HWND /*owner*/, const Text& title, const Text& message) {
    WriteToStandardError(title + NV_TEXT(": ") + message + NV_TEXT("\n"));
}

}  // namespace platform
