// Opening and closing of iconv's converters, which takes a lock of the C library's.
#include "platform/posix/converter.h"

#include <mutex>
#include <new>

#include "platform/fork.h"

namespace platform {

namespace {

constinit std::mutex lock;

constexpr ForkHandlers handlers{[] { lock.lock(); }, [] { lock.unlock(); }, [] { new (&lock) std::mutex; }};

[[maybe_unused]] const bool takesPartInForks = (TakePartInForks(ForkedPart::Converters, handlers), true);

}  // namespace

iconv_t OpenConverter(const char* to, const char* from) {
    const std::lock_guard guard(lock);
    return iconv_open(to, from);
}

void CloseConverter(iconv_t converter) {
    const std::lock_guard guard(lock);
    iconv_close(converter);
}

}  // namespace platform
