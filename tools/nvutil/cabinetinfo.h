// The fields of a compressed buffer, as `buffer info` prints them.
#pragma once

#include <iosfwd>
#include <span>

#include "platform/types.h"

/// Prints footer, cabinet header, entries and blocks of a compressed buffer's state.
///
/// Damage of the cabinet ends the text; whether a buffer can be expanded is for the library to say.
/// @throws ExceptionMissingOrBadCompressedBufferFooter when the state ends in no footer; nothing is printed
void WriteBufferInfo(std::span<const BYTE> state, std::ostream& out);
