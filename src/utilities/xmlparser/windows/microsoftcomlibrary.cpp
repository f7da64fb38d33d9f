// MicrosoftComLibrary over the platform's COM library.
#define NV_SOURCE_FILE "src/utilities/xmlparser/microsoftcomlibrary.cpp"

#include "utilities/xmlparser/microsoftcomlibrary.h"

#include <objbase.h>

#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/xmlparser/npifparseexception.h"

MicrosoftComLibrary::MicrosoftComLibrary() {
    constexpr auto function = "MicrosoftComLibrary::MicrosoftComLibrary";
    const HRESULT result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    if (result == RPC_E_CHANGED_MODE) return;
    if (result == E_OUTOFMEMORY) NV_THROW(ExceptionOutOfMemory, function, __LINE__);
    if (FAILED(result)) {
        ThrowNpifParseException(NpifParseException::ComInitializationFailure, function, NV_SOURCE_FILE,
                                __LINE__);
    }
    initialized = true;
}

MicrosoftComLibrary::~MicrosoftComLibrary() {
    if (initialized) CoUninitialize();
}
