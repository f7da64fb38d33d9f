// The built-in texts that the library shows to its users.
#pragma once

#include <string_view>

#include "platform/types.h"

namespace textresources {

/// Identifiers of the texts.
enum Id : unsigned {
    decimalSeparator = 34606,  ///< Between the integer part and the fraction of a number.
    thousandsSeparator =
        34607,  ///< Between groups of three digits; a second character is the minus sign, "-" else.

    failureTitle = 35003,          ///< Title of every message about a failure.
    operationFailed = 35004,       ///< A failure, said first.
    libraryFailureAdvice = 35005,  ///< Said second of a failure that the library noticed.
    otherFailureAdvice = 35006,    ///< Said second of any other failure.
    outOfMemory = 35007,
    fileNotReadable = 35008,
    fileAdvice = 35009,
    documentNotReadable = 35010,
    documentAdvice = 35011,
    errorNumber = 35012,  ///< Said last of a failure that has a number, which stands for "%s".
};

/// The built-in text; empty when there is none of that identifier.
std::basic_string_view<WChar> Find(unsigned id);

}  // namespace textresources
