// Opening and closing of iconv's converters, which takes a lock of the C library's.
#pragma once

#include <iconv.h>

namespace platform {

/// iconv_open, by one thread at a time and by none while the process forks: a child would find the C
/// library's lock taken for ever.
iconv_t OpenConverter(const char* to, const char* from);
/// iconv_close, likewise.
void CloseConverter(iconv_t converter);

}  // namespace platform
