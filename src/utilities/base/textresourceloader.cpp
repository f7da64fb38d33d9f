// TextResourceLoader: the texts that the library shows to its users.
#include "utilities/utilitiesdll/textresourceloader.h"

#include "platform/textmodule.h"
#include "utilities/base/textresources.h"

bool TextResourceLoader::LoadText(unsigned id, CXString& text) {
    platform::Text fromModule;
    if (platform::LoadTextFromModule(id, fromModule)) {
        text = CXString(fromModule.data(), static_cast<int>(fromModule.size()));
        return true;
    }
    const auto builtIn = textresources::Find(id);
    text = CXString(builtIn.data(), static_cast<int>(builtIn.size()));
    return !builtIn.empty();
}

CXString TextResourceLoader::GetText(unsigned id) {
    CXString text;
    LoadText(id, text);
    return text;
}
