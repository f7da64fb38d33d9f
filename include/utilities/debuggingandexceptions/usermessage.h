// User messages: how the library tells something to the person at the machine.
#pragma once

#include <exception>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace nvutil {

/// A message to the person at the machine.
struct UserMessage {
    HWND owner;  ///< Window that the message belongs to; may be null.
    CXString title;
    CXString text;
    const std::exception* exception;  ///< The failure behind the message; may be null.
};

/// Shows a message and returns when it has been acknowledged or needs no acknowledgement.
using UserMessageHandler = void (*)(const UserMessage& message);

/// Lets a program with a user interface of its own show the library's messages there.
/// @param handler  called by the thread that has something to show; null stands for the platform's message
/// box
/// @return the handler until now; null for the platform's message box
NVUTIL_API UserMessageHandler SetUserMessageHandler(UserMessageHandler handler);

/// The text of a message with the identifier of the failure behind it, where the library has one for it:
/// "…\r\n\r\nError number: 003:000:0610". The platform's message box shows this.
NVUTIL_API CXString GetTextWithIdentifier(const UserMessage& message);

/// Shows a message through the current handler.
NVUTIL_API void ShowUserMessage(const UserMessage& message);

}  // namespace nvutil
