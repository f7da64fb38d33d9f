// User messages: how the library tells something to the person at the machine.
#include "utilities/debuggingandexceptions/usermessage.h"

#include <atomic>

#include "platform/usermessage.h"
#include "utilities/base/textresources.h"
#include "utilities/debuggingandexceptions/norvaexception.h"
#include "utilities/utilitiesdll/textresourceloader.h"

namespace {

std::atomic<nvutil::UserMessageHandler> currentHandler = nullptr;

}  // namespace

nvutil::UserMessageHandler nvutil::SetUserMessageHandler(nvutil::UserMessageHandler handler) {
    return currentHandler.exchange(handler);
}

CXString nvutil::GetTextWithIdentifier(const nvutil::UserMessage& message) {
    if (message.exception == nullptr || !NorvaException::IsNorvaException(*message.exception))
        return message.text;
    // Not formatted with it: the line may come from a translation, with whatever else it holds.
    CXString line = TextResourceLoader::GetText(textresources::errorNumber);
    line.Replace(NV_TEXT("%s"), NorvaException::GetExceptionIdentifierForUserDisplay(*message.exception));
    return message.text + NV_TEXT("\r\n\r\n") + line;
}

void nvutil::ShowUserMessage(const nvutil::UserMessage& message) {
    if (const nvutil::UserMessageHandler handler = currentHandler) {
        handler(message);
    } else {
        platform::ShowUserMessage(message.owner, platform::Text(message.title),
                                  platform::Text(nvutil::GetTextWithIdentifier(message)));
    }
}
