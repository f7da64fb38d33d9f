// The standard error stream, as the place of messages and debug output.
#include "platform/posix/standarderror.h"

#include <cstdio>
#include <string>

#include "platform/utf8.h"

namespace platform {

void WriteToStandardError(const Text& text) {
    const std::string bytes = Utf8Of(text);
    std::fwrite(bytes.data(), 1, bytes.size(), stderr);
}

}  // namespace platform
