// DEVMODEW: a printer's settings as the platform passes them, a public part and the driver's private part.
#pragma once

#include "platform/types.h"

#if defined(_WIN32)
// The platform's own structure, which its headers define.
using DEVMODEW = struct _devicemodeW;  // NOLINT(bugprone-reserved-identifier)
#else
/// The public part in the platform's layout; `dmDriverExtra` bytes of the driver's follow the first `dmSize`.
struct _devicemodeW {  // NOLINT(bugprone-reserved-identifier): the platform's tag
    WChar dmDeviceName[32];
    WORD dmSpecVersion;
    WORD dmDriverVersion;
    WORD dmSize;         ///< Bytes of the public part.
    WORD dmDriverExtra;  ///< Bytes of the private part.
    DWORD dmFields;
    short dmOrientation;
    short dmPaperSize;
    short dmPaperLength;
    short dmPaperWidth;
    short dmScale;
    short dmCopies;
    short dmDefaultSource;
    short dmPrintQuality;
    short dmColor;
    short dmDuplex;
    short dmYResolution;
    short dmTTOption;
    short dmCollate;
    WChar dmFormName[32];
    WORD dmLogPixels;
    DWORD dmBitsPerPel;
    DWORD dmPelsWidth;
    DWORD dmPelsHeight;
    DWORD dmNup;
    DWORD dmDisplayFrequency;
    DWORD dmICMMethod;
    DWORD dmICMIntent;
    DWORD dmMediaType;
    DWORD dmDitherType;
    DWORD dmReserved1;
    DWORD dmReserved2;
    DWORD dmPanningWidth;
    DWORD dmPanningHeight;
};
using DEVMODEW = _devicemodeW;
#endif

namespace platform {

/// Bytes of both parts, as the structure itself tells.
DWORD GetDeviceModeSize(const DEVMODEW& deviceMode);

}  // namespace platform
