// Messages to the person at the machine.
#pragma once

#include "platform/text.h"
#include "platform/types.h"

namespace platform {

/// Shows a message and waits until it is acknowledged where the platform can wait.
/// @param owner  window that the message belongs to; may be null
void ShowUserMessage(HWND owner, const Text& title, const Text& message);

}  // namespace platform
