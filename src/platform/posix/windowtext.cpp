// The text of a window: there are none.
#include "platform/windowtext.h"

namespace platform {

Text WindowText(HWND /*window*/) {
    return {};
}

void SetWindowTextTo(HWND /*window*/, const WChar* /*text*/) {}

}  // namespace platform
