// FormatText: a formatted string in one expression.
#pragma once

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

/// What a format's argument is passed as: a string as the pointer that "%s" takes, anything else as it is.
inline const WChar* FormatArgument(const CXString& text) {
    return text;
}
template <class T>
T FormatArgument(T argument) {
    return argument;
}

/// Formats as CXString::Format does. Strings may be passed as they are.
template <class... Arguments>
CXString FormatText(const WChar* format, const Arguments&... arguments) {
    CXString text;
    text.Format(format, FormatArgument(arguments)...);
    return text;
}
