// The formatter of messages with numbered inserts.
#pragma once

#include <cstdarg>

#include "platform/text.h"
#include "platform/types.h"

namespace platform {

/// Expands a message text.
///
/// "%1" to "%99" stand for the arguments, which are terminated wide strings unless a conversion of the wide
/// formatter follows ("%2!5d!"); every argument takes as much room as a pointer, and there must be as many as
/// the highest number says, with those that a "*" takes. "%n" is a line end, "%r" a carriage return, "%t" a
/// tab; "%0" ends the text; a percent sign in front of any other character stands for that character. A line
/// end of the text itself becomes "\r\n". A converted insert is cut to 65,535 code units.
///
/// @return whether the text is well formed, which a conversion of a floating point number or "n" is not, and
///         not longer than 0x00FFFFFF code units; `text` is unchanged otherwise
bool ExpandMessage(const WChar* format, va_list arguments, Text& text);

}  // namespace platform
