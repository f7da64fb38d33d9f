// The text of a COM error.
#include "utilities/xmlparser/comerrortext.h"

#include "utilities/utilitiesdll/formattext.h"

CXString FormatComError(const _com_error& error) {
    // The platform's class gives texts of a type of its own, and null for one that is absent.
    const auto& source = error.Source();
    const auto& description = error.Description();
    return FormatText(NV_TEXT("_com_error - Code=0x%lx. Message='%s'. Source='%s'. Description='%s'"),
                      error.Error(), CXString(error.ErrorMessage()),
                      CXString(static_cast<const WChar*>(source)),
                      CXString(static_cast<const WChar*>(description)));
}
