// The form of paths that the system takes as they stand: no device names, no cut dots, no limit of 260.
#pragma once

#include "platform/text.h"

namespace platform {

/// The full path in its literal form; empty when the system cannot tell it.
Text LiteralPath(const Text& path);
/// The usual form of a literal path; one that has none stays as it is.
Text PlainPath(const Text& literal);

}  // namespace platform
