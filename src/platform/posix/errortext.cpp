// Error texts of the codes that the library meets off Windows.
#include "platform/errortext.h"

#include <algorithm>
#include <iterator>

namespace platform {

namespace {

struct CodeText {
    DWORD code;
    const WChar* text;
};

// Sorted by code. A system error is listed once, under its own number.
constexpr CodeText texts[] = {
    {0, NV_TEXT("Success")},
    {1, NV_TEXT("Invalid function")},
    {2, NV_TEXT("File not found")},
    {3, NV_TEXT("Path not found")},
    {5, NV_TEXT("Access denied")},
    {6, NV_TEXT("Invalid handle")},
    {8, NV_TEXT("Not enough memory")},
    {13, NV_TEXT("Invalid data")},
    {14, NV_TEXT("Out of memory")},
    {32, NV_TEXT("Sharing violation")},
    {50, NV_TEXT("Request not supported")},
    {80, NV_TEXT("File exists")},
    {87, NV_TEXT("Invalid parameter")},
    {112, NV_TEXT("Disk full")},
    {122, NV_TEXT("Insufficient buffer")},
    {126, NV_TEXT("Module not found")},
    {127, NV_TEXT("Procedure not found")},
    {183, NV_TEXT("File already exists")},
    {234, NV_TEXT("More data available")},
    {259, NV_TEXT("No more data available")},
    {1168, NV_TEXT("Element not found")},
    {1801, NV_TEXT("Invalid printer name")},
    {0x80004001, NV_TEXT("Not implemented")},
    {0x80004002, NV_TEXT("Interface not supported")},
    {0x80004003, NV_TEXT("Invalid pointer")},
    {0x80004004, NV_TEXT("Operation aborted")},
    {0x80004005, NV_TEXT("Unspecified failure")},
    {0x8000FFFF, NV_TEXT("Unexpected failure")},
    {0x80040154, NV_TEXT("Class not registered")},
    {0x800401F0, NV_TEXT("COM not initialized")},
};
static_assert(std::ranges::is_sorted(texts, {}, &CodeText::code));

// A system error wrapped into an HRESULT has the text of its number.
DWORD Unwrap(DWORD code) {
    constexpr DWORD wrapping = 0x80070000;
    return (code & 0xFFFF0000) == wrapping ? code & 0xFFFF : code;
}

}  // namespace

Text ErrorText(HRESULT code) {
    const DWORD wanted = Unwrap(static_cast<DWORD>(code));
    const auto* found = std::ranges::lower_bound(texts, wanted, {}, &CodeText::code);
    return found != std::end(texts) && found->code == wanted ? Text(found->text) : Text();
}

}  // namespace platform
