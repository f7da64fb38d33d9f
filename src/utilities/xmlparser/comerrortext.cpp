// The text of a COM error.
#include "utilities/xmlparser/comerrortext.h"

#include "platform/errortext.h"
#include "utilities/base/formattext.h"

CXString ComErrorMessage(HRESULT result) {
    const platform::Text text = platform::ErrorText(result);
    return text.empty() ? FormatText(NV_TEXT("Unknown error 0x%0lX"), result) : CXString(text.c_str());
}

CXString FormatComError(const _com_error& error) {
    // The platform's class gives texts of a type of its own, and null for one that is absent. Its message is
    // not asked for: the width of that depends on how the caller was compiled.
    const auto& source = error.Source();
    const auto& description = error.Description();
    return FormatText(NV_TEXT("_com_error - Code=0x%lx. Message='%s'. Source='%s'. Description='%s'"),
                      error.Error(), ComErrorMessage(error.Error()),
                      CXString(static_cast<const WChar*>(source)),
                      CXString(static_cast<const WChar*>(description)));
}
