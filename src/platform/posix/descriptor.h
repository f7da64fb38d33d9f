// Open files and folders by their descriptors, and whole reads and writes of them.
#pragma once

#include <unistd.h>

#include <cstddef>

#include "platform/internalapi.h"

namespace platform {

/// An open file or folder, closed at its end.
class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (IsOpen()) close(m_number);
    }

    bool IsOpen() const { return m_number >= 0; }
    int Get() const { return m_number; }

private:
    int m_number;
};

// Both go on after a signal, and tell in errno why they fail.

/// Reads up to the end, but not more than there is room for.
/// @return the number of bytes, or -1
NVUTIL_INTERNAL_API ssize_t ReadInto(int file, void* out, std::size_t room);

/// @return whether all has been written
NVUTIL_INTERNAL_API bool WriteAll(int file, const void* bytes, std::size_t size);

}  // namespace platform
