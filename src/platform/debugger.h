// The debugger, when one is attached.
#pragma once

namespace platform {

/// Stops in the attached debugger; does nothing when there is none.
void BreakIntoDebugger();

}  // namespace platform
