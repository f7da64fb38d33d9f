// The text of a window.
#pragma once

#include "platform/text.h"
#include "platform/types.h"

namespace platform {

/// The text of a window; empty where the platform has no windows or there is no such window.
Text WindowText(HWND window);

/// Gives a window a text; does nothing where the platform has no windows.
void SetWindowTextTo(HWND window, const WChar* text);

}  // namespace platform
