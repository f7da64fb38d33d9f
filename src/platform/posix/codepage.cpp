// Conversion between UTF-16 and 8-bit text: UTF-8 and code page 1252 by own tables, others through iconv.
#include "platform/codepage.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace platform {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

// Counts what does not fit as well as what does, so that one routine also asks for the size needed.
template <class Unit>
class CountingWriter {
public:
    CountingWriter(Unit* out, int capacity) : m_out(out), m_capacity(out != nullptr ? capacity : 0) {}

    void Put(Unit unit) {
        if (m_count < m_capacity) m_out[m_count] = unit;
        ++m_count;
    }

    // The result of a conversion: the count; 0 when it exceeds the room or what an int holds.
    int Result(int capacity) const {
        const bool fits = m_count <= (capacity == 0 ? INT_MAX : m_capacity);
        return fits ? static_cast<int>(m_count) : 0;
    }

private:
    Unit* m_out;
    std::int64_t m_capacity;
    std::int64_t m_count = 0;
};

// UTF-8

bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

bool IsScalarValue(char32_t character) {
    return character <= 0x10FFFF && !IsHighSurrogate(character) && !IsLowSurrogate(character);
}

// Reads one character; a lone surrogate is the replacement character.
char32_t ReadUtf16(const WChar*& cursor, const WChar* end) {
    const char32_t unit = *cursor++;
    if (IsHighSurrogate(unit) && cursor != end && IsLowSurrogate(*cursor)) {
        return 0x10000 + ((unit - 0xD800) << 10) + (*cursor++ - char32_t{0xDC00});
    }
    return IsScalarValue(unit) ? unit : replacementCharacter;
}

void WriteUtf16(CountingWriter<WChar>& out, char32_t character) {
    if (character < 0x10000) {
        out.Put(static_cast<WChar>(character));
    } else {
        out.Put(static_cast<WChar>(0xD800 + ((character - 0x10000) >> 10)));
        out.Put(static_cast<WChar>(0xDC00 + ((character - 0x10000) & 0x3FF)));
    }
}

// How many bytes a sequence has whose first byte is this one; 0 when none begins with it.
int Utf8SequenceLength(unsigned char first) {
    if (first < 0x80) return 1;
    if (first < 0xC2) return 0;
    if (first < 0xE0) return 2;
    if (first < 0xF0) return 3;
    return first < 0xF5 ? 4 : 0;
}

// Reads one character; each malformed sequence is one replacement character. The second byte belongs to the
// sequence even when it makes it overlong, a surrogate or too large a number.
char32_t ReadUtf8(const char*& cursor, const char* end) {
    constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(*cursor++);
    const int length = Utf8SequenceLength(first);
    if (length == 0) return replacementCharacter;
    if (length == 1) return first;

    char32_t character = first & (0xFFU >> (length + 1));
    for (int read = 1; read < length; ++read) {
        if (cursor == end || (static_cast<unsigned char>(*cursor) & 0xC0) != 0x80)
            return replacementCharacter;
        character = character << 6 | (static_cast<unsigned char>(*cursor++) & 0x3F);
        const int bitsLeft = 6 * (length - 1 - read);
        const char32_t lowest = character << bitsLeft;
        const char32_t highest = lowest | ((char32_t{1} << bitsLeft) - 1);
        if (highest < smallest[static_cast<std::size_t>(length)] ||
            !(IsScalarValue(lowest) || IsScalarValue(highest))) {
            return replacementCharacter;
        }
    }
    return character;
}

void WriteUtf8(CountingWriter<char>& out, char32_t character) {
    const auto put = [&out](char32_t byte) { out.Put(static_cast<char>(byte)); };
    const auto putTrail = [&put, character](int shift) { put(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 | character >> 6);
        putTrail(0);
    } else if (character < 0x10000) {
        put(0xE0 | character >> 12);
        putTrail(6);
        putTrail(0);
    } else {
        put(0xF0 | character >> 18);
        putTrail(12);
        putTrail(6);
        putTrail(0);
    }
}

void Utf8FromWide(CountingWriter<char>& out, const WChar* text, const WChar* end) {
    while (text != end)
        WriteUtf8(out, ReadUtf16(text, end));
}

void WideFromUtf8(CountingWriter<WChar>& out, const char* text, const char* end) {
    while (text != end)
        WriteUtf16(out, ReadUtf8(text, end));
}

// Code page 1252

// What the bytes 0x80 to 0x9F stand for; all others stand for the code units of the same numbers.
constexpr std::array<WChar, 32> page1252 = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                            0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                            0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                            0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void Page1252FromWide(CountingWriter<char>& out, const WChar* text, const WChar* end) {
    for (; text != end; ++text) {
        if (*text < 0x80 || (*text >= 0xA0 && *text <= 0xFF)) {
            out.Put(static_cast<char>(*text));
        } else {
            const auto found = std::find(page1252.begin(), page1252.end(), *text);
            out.Put(found != page1252.end() ? static_cast<char>(0x80 + (found - page1252.begin())) : '?');
        }
    }
}

void WideFromPage1252(CountingWriter<WChar>& out, const char* text, const char* end) {
    for (; text != end; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        out.Put(byte >= 0x80 && byte < 0xA0 ? page1252[byte - 0x80U] : static_cast<WChar>(byte));
    }
}

// Any other code page, through iconv

// An open conversion; not valid when iconv does not know one of the encodings.
class Conversion {
public:
    Conversion(const char* to, const char* from) : m_handle(iconv_open(to, from)) {}
    ~Conversion() {
        if (IsValid()) iconv_close(m_handle);
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    bool IsValid() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

    // Converts bytes to bytes. `unitSize` bytes at a time that mean nothing become `replacement`.
    std::string Convert(const void* input, std::size_t length, std::size_t unitSize,
                        std::string_view replacement) {
        std::string result;
        auto* next = static_cast<char*>(const_cast<void*>(input));  // which iconv does not write to
        while (length > 0) {
            if (Step(&next, &length, result) || errno == E2BIG) continue;
            result.append(replacement);
            const std::size_t skipped = std::min(unitSize, length);
            next += skipped;
            length -= skipped;
        }
        Step(nullptr, nullptr, result);  // returns to the initial shift state
        return result;
    }

private:
    bool Step(char** next, std::size_t* length, std::string& result) {
        std::array<char, 256> piece;
        char* out = piece.data();
        std::size_t room = piece.size();
        const std::size_t status = iconv(m_handle, next, length, &out, &room);
        result.append(piece.data(), static_cast<std::size_t>(out - piece.data()));
        return status != static_cast<std::size_t>(-1);
    }

    iconv_t m_handle;
};

constexpr const char* utf16 = "UTF-16LE";

// iconv's name of the ANSI code page when the environment chooses another than 1252; else empty.
const std::string& OtherAnsiCodePage() {
    static const std::string name = [] {
        const char* chosen = std::getenv("NVUTIL_ANSI_CODEPAGE");
        if (chosen == nullptr || std::string_view(chosen) == "1252") return std::string();
        const std::string encoding =
            std::string_view(chosen) == "65001" ? "UTF-8" : std::string("CP") + chosen;
        const bool isKnown =
            Conversion(utf16, encoding.c_str()).IsValid() && Conversion(encoding.c_str(), utf16).IsValid();
        return isKnown ? encoding : std::string();
    }();
    return name;
}

void AnsiFromWide(CountingWriter<char>& out, const WChar* text, const WChar* end) {
    const std::string& encoding = OtherAnsiCodePage();
    if (encoding.empty()) return Page1252FromWide(out, text, end);
    const auto length = static_cast<std::size_t>(end - text) * sizeof(WChar);
    for (const char byte : Conversion(encoding.c_str(), utf16).Convert(text, length, sizeof(WChar), "?")) {
        out.Put(byte);
    }
}

void WideFromAnsi(CountingWriter<WChar>& out, const char* text, const char* end) {
    const std::string& encoding = OtherAnsiCodePage();
    if (encoding.empty()) return WideFromPage1252(out, text, end);
    constexpr std::string_view replacement = "\xFD\xFF";  // of UTF-16LE
    const std::string bytes = Conversion(utf16, encoding.c_str())
                                  .Convert(text, static_cast<std::size_t>(end - text), 1, replacement);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto low = static_cast<unsigned char>(bytes[i]);
        const auto high = static_cast<unsigned char>(bytes[i + 1]);
        out.Put(static_cast<WChar>(low | high << 8));
    }
}

}  // namespace

int NarrowFromWide(CodePage codePage, const WChar* text, int length, char* out, int capacity) {
    if (text == nullptr || length <= 0 || capacity < 0) return 0;
    CountingWriter<char> writer(out, capacity);
    const auto convert = codePage == CodePage::Utf8 ? &Utf8FromWide : &AnsiFromWide;
    convert(writer, text, text + length);
    return writer.Result(capacity);
}

int WideFromNarrow(CodePage codePage, const char* text, int length, WChar* out, int capacity) {
    if (text == nullptr || length <= 0 || capacity < 0) return 0;
    CountingWriter<WChar> writer(out, capacity);
    const auto convert = codePage == CodePage::Utf8 ? &WideFromUtf8 : &WideFromAnsi;
    convert(writer, text, text + length);
    return writer.Result(capacity);
}

}  // namespace platform
