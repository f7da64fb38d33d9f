// Environment variables, for those who may set them.
#include "platform/posix/environment.h"

#include <cstdlib>

namespace platform {

const char* TrustedVariable(const char* name) {
    return secure_getenv(name);
}

}  // namespace platform
