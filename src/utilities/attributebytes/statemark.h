// StateMark: the four characters that a serialised state begins with.
#pragma once

#include <algorithm>

#include "utilities/utilitiesdll/bytebuffer.h"

/// A mark such as "ABRL".
class StateMark {
public:
    static constexpr unsigned size = 4;

    explicit constexpr StateMark(const char (&text)[size + 1]) {
        for (unsigned i = 0; i < size; ++i)
            m_bytes[i] = static_cast<BYTE>(text[i]);
    }

    /// Whether `length` bytes begin with the mark.
    bool Begins(const BYTE* bytes, unsigned length) const {
        return length >= size && std::equal(m_bytes, m_bytes + size, bytes);
    }
    void AppendTo(ByteBuffer& out) const { out.appendLpbyte(m_bytes, size); }

private:
    BYTE m_bytes[size] = {};
};
