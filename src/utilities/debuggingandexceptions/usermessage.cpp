// User messages: how the library tells something to the person at the machine.
#include "utilities/debuggingandexceptions/usermessage.h"

#include <atomic>

#include "platform/usermessage.h"

namespace {

std::atomic<UserMessageHandler> currentHandler = nullptr;

}  // namespace

UserMessageHandler SetUserMessageHandler(UserMessageHandler handler) {
    return currentHandler.exchange(handler);
}

void ShowUserMessage(const UserMessage& message) {
    if (const UserMessageHandler handler = currentHandler) {
        handler(message);
    } else {
        platform::ShowUserMessage(message.owner, platform::Text(message.title), platform::Text(message.text));
    }
}
