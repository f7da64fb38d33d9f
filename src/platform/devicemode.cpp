// DEVMODEW: the layout that both builds share, with the platform's own structure where it has one.
#include "platform/devicemode.h"

#if defined(_WIN32)
#include <windows.h>  // which defines the structure
#endif

#include <cstddef>

namespace platform {

static_assert(sizeof(DEVMODEW) == 220);
static_assert(offsetof(DEVMODEW, dmSize) == 68 && offsetof(DEVMODEW, dmDriverExtra) == 70);
static_assert(offsetof(DEVMODEW, dmFields) == 72 && offsetof(DEVMODEW, dmColor) == 92);
static_assert(offsetof(DEVMODEW, dmFormName) == 102 && offsetof(DEVMODEW, dmPanningHeight) == 216);

DWORD GetDeviceModeSize(const DEVMODEW& deviceMode) {
    return DWORD{deviceMode.dmSize} + deviceMode.dmDriverExtra;
}

}  // namespace platform
