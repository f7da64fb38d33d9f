// Status: how an operation of the platform ended.
#pragma once

#include "platform/errortext.h"
#include "platform/text.h"
#include "platform/types.h"

namespace platform {

/// What every service here returns that can fail in more than one way, except those of files and folders:
/// they speak the language of std::filesystem, std::error_code.
struct [[nodiscard]] Status {
    DWORD code = 0;  ///< The platform's error code; 0 is success.
    Text detail;     ///< What failed, for people; empty when the text of the code says all.

    bool IsSuccess() const { return code == 0; }
    /// Why it failed, for people; empty when nobody knows.
    Text GetReason() const { return detail.empty() ? ErrorText(static_cast<HRESULT>(code)) : detail; }
};

}  // namespace platform
