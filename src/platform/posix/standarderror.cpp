// The standard error stream, as the place of messages and debug output.
#include "platform/posix/standarderror.h"

#include <cstdio>
#include <string>

#include "platform/codepage.h"

namespace platform {

void WriteToStandardError(const Text& text) {
    const int length = static_cast<int>(text.size());
    const int size = NarrowFromWide(CodePage::Utf8, text.data(), length, nullptr, 0);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    NarrowFromWide(CodePage::Utf8, text.data(), length, bytes.data(), size);
    std::fwrite(bytes.data(), 1, bytes.size(), stderr);
}

}  // namespace platform
