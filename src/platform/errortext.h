// The platform's texts of error codes.
#pragma once

#include "platform/text.h"
#include "platform/types.h"

namespace platform {

/// The platform's message for an error code or HRESULT, without a line end; empty when it knows none.
Text ErrorText(HRESULT code);

}  // namespace platform
