// IsDeviceName: looking a name up among those of devices.
#include "utilities/utilitiesdll/devicename.h"

#include <algorithm>
#include <array>

#include "platform/text.h"
#include "platform/widechar.h"

namespace {

using TextView = std::basic_string_view<WChar>;

constexpr std::array<TextView, 7> devices{NV_TEXT("con"),    NV_TEXT("prn"),    NV_TEXT("aux"),
                                          NV_TEXT("nul"),    NV_TEXT("clock$"), NV_TEXT("conin$"),
                                          NV_TEXT("conout$")};
constexpr std::array<TextView, 2> numberedDevices{NV_TEXT("com"), NV_TEXT("lpt")};
/// Digits of devices: the ten, and the three that code page 1252 has raised.
constexpr TextView deviceDigits = NV_TEXT("0123456789\u00B9\u00B2\u00B3");

}  // namespace

bool IsDeviceName(TextView name) {
    TextView stem = name.substr(0, name.find(NV_TEXT('.')));
    stem = stem.substr(0, stem.find_last_not_of(NV_TEXT(' ')) + 1);
    platform::Text lower(stem);
    std::transform(lower.begin(), lower.end(), lower.begin(), platform::ToLower);
    if (std::find(devices.begin(), devices.end(), TextView(lower)) != devices.end()) return true;
    return lower.size() == 4 && deviceDigits.find(lower[3]) != TextView::npos &&
           std::find(numberedDevices.begin(), numberedDevices.end(), TextView(lower).substr(0, 3)) !=
               numberedDevices.end();
}
