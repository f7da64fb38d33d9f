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
    {0, u"The operation completed successfully."},
    {1, u"Incorrect function."},
    {2, u"The system cannot find the file specified."},
    {3, u"The system cannot find the path specified."},
    {5, u"Access is denied."},
    {6, u"The handle is invalid."},
    {8, u"Not enough memory resources are available to process this command."},
    {13, u"The data is invalid."},
    {14, u"Not enough memory resources are available to complete this operation."},
    {32, u"The process cannot access the file because it is being used by another process."},
    {50, u"The request is not supported."},
    {80, u"The file exists."},
    {87, u"The parameter is incorrect."},
    {112, u"There is not enough space on the disk."},
    {122, u"The data area passed to a system call is too small."},
    {126, u"The specified module could not be found."},
    {127, u"The specified procedure could not be found."},
    {183, u"Cannot create a file when that file already exists."},
    {234, u"More data is available."},
    {259, u"No more data is available."},
    {1168, u"Element not found."},
    {1801, u"The printer name is invalid."},
    {0x80004001, u"Not implemented."},
    {0x80004002, u"No such interface supported."},
    {0x80004003, u"Invalid pointer."},
    {0x80004004, u"Operation aborted."},
    {0x80004005, u"Unspecified error."},
    {0x8000FFFF, u"Catastrophic failure."},
    {0x80040154, u"Class not registered."},
    {0x800401F0, u"CoInitialize has not been called."},
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
