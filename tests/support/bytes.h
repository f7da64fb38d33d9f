// Byte sequences as tests write and read them.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "support/narrow.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

/// The bytes of a text such as "02 0C 00"; blanks are skipped.
inline ByteBuffer Bytes(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (c != ' ' && c != '\n') digits += c;
    }
    return ByteBuffer::createFromHexBinaryString(CXString(digits.c_str()));
}

/// Upper-case hexadecimal text with a blank between bytes, the form that Bytes reads.
inline std::string Hex(const ByteBuffer& bytes) {
    const std::string digits = Narrow(bytes.getAsHexBinaryString());
    std::string text;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        if (i > 0) text += ' ';
        text += digits.substr(i, 2);
    }
    return text;
}

/// Prints a string in a failure of the test framework.
inline void PrintTo(const CXString& text, std::ostream* out) {
    *out << '"' << Narrow(text) << '"';
}
