// Whole reads and writes of open files.
#include "platform/posix/descriptor.h"

#include <cerrno>

namespace platform {

ssize_t ReadInto(int file, void* out, std::size_t room) {
    std::size_t done = 0;
    while (done < room) {
        const ssize_t count = read(file, static_cast<char*>(out) + done, room - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return -1;
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(done);
}

bool WriteAll(int file, const void* bytes, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = write(file, static_cast<const char*>(bytes) + done, size - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace platform
