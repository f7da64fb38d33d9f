// The standard error stream, as the place of messages and debug output.
#pragma once

#include "platform/text.h"

namespace platform {

/// Writes text as UTF-8.
void WriteToStandardError(const Text& text);

}  // namespace platform
