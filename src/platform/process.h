// Facts about the running process and thread.
#pragma once

#include "platform/text.h"
#include "platform/types.h"

namespace platform {

/// The identifier of the calling thread, as the platform's own tools show it.
DWORD CurrentThreadId();

/// File name of the program that runs, without its folder, for example "spoolsv.exe".
Text HostModuleName();

/// Whether nobody may be there to answer a message: a service, or a process without a terminal.
bool IsPossiblyNonInteractive();

}  // namespace platform
