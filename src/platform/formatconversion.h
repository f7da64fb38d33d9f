// The syntax of one conversion of a format text, "%-08.3I64x", and the arguments it is filled from.
#pragma once

#include <cstdarg>

#include "platform/types.h"

namespace platform {

struct FormatArguments;

/// One conversion, as it is written; widths and precisions that come from arguments are not fetched.
struct FormatConversion {
    enum class Size { Default, Short, Long, Bits64 };
    /// What a conversion prints. A store, "%n", prints and stores nothing; an unknown letter stands for
    /// itself.
    enum class Kind { End, String, Character, Signed, Unsigned, Float, Pointer, Store, Unknown };

    bool leftAligned = false;    ///< Flag "-".
    bool plusSign = false;       ///< Flag "+".
    bool blankSign = false;      ///< Flag " ".
    bool zeroPadded = false;     ///< Flag "0".
    bool alternateForm = false;  ///< Flag "#".

    bool widthIsArgument = false;      ///< "*": the width is the next argument, an int.
    bool precisionIsArgument = false;  ///< ".*"
    int width = 0;
    int precision = -1;  ///< Negative when there is none.

    Size size = Size::Default;  ///< Default is 32 bits, and so is Long.
    WChar type = 0;             ///< The letter that ends the conversion; 0 where the text ends before it.

    Kind GetKind() const;
    /// Fetches the width and the precision if they are arguments. A negative width means left alignment.
    void FetchStars(FormatArguments& arguments);

    /// Whether the conversion takes or prints 8-bit text, for the types "c", "C", "s" and "S". Only "h", "l"
    /// and "w" say which; a prefix that gives the size of an integer changes neither.
    bool IsNarrowText() const;
};

/// The arguments of a format text: a list in an object, so that a function which fetches one advances its
/// caller's list.
struct FormatArguments {
    explicit FormatArguments(va_list original) { va_copy(list, original); }
    ~FormatArguments() { va_end(list); }
    FormatArguments(const FormatArguments&) = delete;
    FormatArguments& operator=(const FormatArguments&) = delete;

    va_list list;
};

/// Reads one conversion.
/// @param cursor  behind the percent sign; afterwards behind the letter that ends the conversion
FormatConversion ReadFormatConversion(const WChar*& cursor);

}  // namespace platform
