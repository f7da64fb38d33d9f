// The debugger, when one is attached.
#pragma once

#include "platform/text.h"

namespace platform {

/// Stops in the attached debugger; does nothing when there is none.
void BreakIntoDebugger();

/// Writes text where developers look for it: the debugger's output, or, where the platform has none, the
/// standard error stream when the environment variable NVUTIL_DEBUG is set.
void WriteDebugOutput(const Text& text);

}  // namespace platform
