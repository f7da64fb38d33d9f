// Conversion between UTF-16 and 8-bit text: UTF-8 and code page 1252 by own tables, others through iconv.
#include "platform/codepage.h"
#include "platform/posix/converter.h"
#include "platform/posix/environment.h"
#include "platform/text.h"
#include "platform/utf8.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

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

    std::int64_t GetCount() const { return m_count; }

    /// Converts units that stand for themselves one by one; returns where another one begins.
    template <class Source>
    const Source* PutAscii(const Source* text, const Source* end) {
        for (; text != end && static_cast<std::make_unsigned_t<Source>>(*text) < 0x80; ++text)
            Put(static_cast<Unit>(*text));
        return text;
    }

    /// What TrustingWriter does, which knows that there is room.
    const WChar* PutTwoByteBlocks(const WChar* text, const WChar*) { return text; }

private:
    Unit* m_out;
    std::int64_t m_capacity;
    std::int64_t m_count = 0;
};

/// Writes where there is room for everything, and so for one unit for each that is still to be read.
template <class Unit>
class TrustingWriter {
public:
    explicit TrustingWriter(Unit* out) : m_begin(out), m_next(out) {}

    void Put(Unit unit) { *m_next++ = unit; }

    int GetCount() const { return static_cast<int>(m_next - m_begin); }

    /// Converts units that stand for themselves eight at a time; returns where another one begins.
    template <class Source>
    const Source* PutAscii(const Source* text, const Source* end) {
        while (end - text >= blockLength) {
            // The block is written as a whole; what is not ASCII in it will be overwritten.
            for (int i = 0; i < blockLength; ++i)
                m_next[i] = static_cast<Unit>(text[i]);
            const int ascii = CountAscii(text);
            m_next += ascii;
            text += ascii;
            if (ascii != blockLength) return text;
        }
        for (; text != end && static_cast<std::make_unsigned_t<Source>>(*text) < 0x80; ++text)
            Put(static_cast<Unit>(*text));
        return text;
    }

    /// Converts code units below 0x800 four at a time, as long as not all of them are ASCII. There is no
    /// branch for each: in scripts whose letters take two bytes nobody can foretell blanks.
    const WChar* PutTwoByteBlocks(const WChar* text, const WChar* end) {
        constexpr int length = 4;
        for (; end - text > length; text += length) {  // one byte more than needed is written
            const std::uint64_t bits = BitsOf(text);
            if ((bits & 0xF800F800F800F800) != 0 || (bits & 0xFF80FF80FF80FF80) == 0) break;
            for (int i = 0; i < length; ++i) {
                const bool isAscii = text[i] < 0x80;
                m_next[0] = static_cast<Unit>(isAscii ? text[i] : 0xC0 | text[i] >> 6);
                m_next[1] = static_cast<Unit>(0x80 | (text[i] & 0x3F));
                m_next += isAscii ? 1 : 2;
            }
        }
        return text;
    }

private:
    static constexpr int blockLength = 8;

    /// How many units at the beginning of a block are ASCII.
    static int CountAscii(const char* block) { return CountAscii(block, 0x8080808080808080); }
    static int CountAscii(const WChar* block) {
        const int first = CountAscii(block, 0xFF80FF80FF80FF80);
        return first == blockLength / 2 ? first + CountAscii(block + first, 0xFF80FF80FF80FF80) : first;
    }

    template <class Source>
    static int CountAscii(const Source* units, std::uint64_t notAscii) {
        return std::countr_zero(BitsOf(units) & notAscii) / (8 * static_cast<int>(sizeof(Source)));
    }

    /// Eight bytes, of which the first are the lowest.
    template <class Source>
    static std::uint64_t BitsOf(const Source* units) {
        static_assert(std::endian::native == std::endian::little);
        std::uint64_t bits = 0;
        std::memcpy(&bits, units, sizeof bits);
        return bits;
    }

    Unit* m_begin;
    Unit* m_next;
};

// UTF-8

// Reads one character; a lone surrogate is the replacement character.
char32_t ReadUtf16(const WChar*& cursor, const WChar* end) {
    const char32_t unit = *cursor++;
    if (IsHighSurrogate(unit) && cursor != end && IsLowSurrogate(*cursor))
        return 0x10000 + ((unit - 0xD800) << 10) + (*cursor++ - char32_t{0xDC00});
    return IsScalarValue(unit) ? unit : replacementCharacter;
}

template <class Writer>
void WriteUtf16(Writer& out, char32_t character) {
    if (character < 0x10000) {
        out.Put(static_cast<WChar>(character));
    } else {
        out.Put(static_cast<WChar>(0xD800 + ((character - 0x10000) >> 10)));
        out.Put(static_cast<WChar>(0xDC00 + ((character - 0x10000) & 0x3FF)));
    }
}

// How many bytes a sequence has that begins with this byte, which is not ASCII; 0 when none does.
int Utf8SequenceLength(unsigned char first) {
    if (first < 0xC2) return 0;
    if (first < 0xE0) return 2;
    if (first < 0xF0) return 3;
    return first < 0xF5 ? 4 : 0;
}

// Passes over a malformed sequence, which becomes one replacement character. The second byte belongs to the
// sequence even when it makes it overlong, a surrogate or too large a number.
void SkipMalformedUtf8(const char*& cursor, const char* end) {
    constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(*cursor++);
    const int length = Utf8SequenceLength(first);
    char32_t character = first & (0xFFU >> (length + 1));
    for (int left = length - 1; left > 0; --left) {
        if (cursor == end || (static_cast<unsigned char>(*cursor) & 0xC0) != 0x80) return;
        character = character << 6 | (static_cast<unsigned char>(*cursor++) & 0x3F);
        const int bitsLeft = 6 * (left - 1);
        const char32_t lowest = character << bitsLeft;
        const char32_t highest = lowest | ((char32_t{1} << bitsLeft) - 1);
        if (highest < smallest[static_cast<std::size_t>(length)] ||
            !(IsScalarValue(lowest) || IsScalarValue(highest)))
            return;
    }
}

// Reads one character that is not ASCII.
char32_t ReadUtf8(const char*& cursor, const char* end) {
    char32_t character = replacementCharacter;
    const std::size_t length = DecodeUtf8(cursor, static_cast<std::size_t>(end - cursor), character);
    cursor += length;
    if (length != 0) return character;
    SkipMalformedUtf8(cursor, end);
    return replacementCharacter;
}

template <class Writer>
void Utf8FromWide(Writer& out, const WChar* text, const WChar* end) {
    while ((text = out.PutAscii(text, end)) != end) {
        do {
            text = out.PutTwoByteBlocks(text, end);
            EncodeUtf8(ReadUtf16(text, end), [&out](char byte) { out.Put(byte); });
        } while (text != end && *text >= 0x80);
    }
}

template <class Writer>
void WideFromUtf8(Writer& out, const char* text, const char* end) {
    while ((text = out.PutAscii(text, end)) != end) {
        do {
            WriteUtf16(out, ReadUtf8(text, end));
        } while (text != end && static_cast<unsigned char>(*text) >= 0x80);
    }
}

// Converts with care only what could be too much: of the rest, whatever is read, a third of the room has
// place. Returns the number of bytes, or 0 when there were too many.
int Utf8FromWide(const WChar* text, const WChar* end, char* out, int capacity) {
    constexpr std::ptrdiff_t mostBytes = 3;  // of a code unit
    constexpr std::ptrdiff_t worthIt = 16;
    TrustingWriter<char> trusting(out);
    for (;;) {
        const WChar* part = text + std::min((capacity - trusting.GetCount()) / mostBytes, end - text);
        if (part != text && part != end && IsHighSurrogate(part[-1])) --part;
        if (part - text < worthIt) break;
        Utf8FromWide(trusting, text, part);
        text = part;
    }
    const int done = trusting.GetCount();
    if (text == end) return done;
    CountingWriter<char> careful(out + done, capacity - done);
    Utf8FromWide(careful, text, end);
    return careful.GetCount() <= capacity - done ? done + static_cast<int>(careful.GetCount()) : 0;
}

// The bytes that Utf8FromWide puts. A lone surrogate takes the three of its replacement, each of a pair two.
// Counts of a block fit in 16 bits, in which a compiler adds up many at once.
std::int64_t Utf8Length(const WChar* text, std::size_t length) {
    constexpr std::size_t blockLength = 8192;
    const auto count = [](bool isSo) { return static_cast<std::uint16_t>(isSo); };
    const auto block = [text](std::size_t i) { return static_cast<std::uint16_t>(text[i] & 0xFC00); };
    std::int64_t bytes = 0;
    for (std::size_t begin = 0; begin < length; begin += blockLength) {
        const std::size_t end = std::min(begin + blockLength, length);
        std::uint16_t more = 0;
        for (std::size_t i = begin; i < end; ++i)
            more = static_cast<std::uint16_t>(more + count(text[i] >= 0x80) + count(text[i] >= 0x800));
        std::uint16_t pairs = 0;
        for (std::size_t i = std::max<std::size_t>(begin, 1); i < end; ++i) {
            pairs = static_cast<std::uint16_t>(pairs +
                                               (count(block(i - 1) == 0xD800) & count(block(i) == 0xDC00)));
        }
        bytes += static_cast<std::int64_t>(end - begin) + more - 2 * pairs;
    }
    return bytes;
}

// Code page 1252

// What the bytes 0x80 to 0x9F stand for; all others stand for the code units of the same numbers.
constexpr std::array<WChar, 32> page1252 = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                            0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                            0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                            0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

struct Mapping {
    WChar unit;
    unsigned char byte;
};

// What other code units become, in their order: those of the bytes 0x80 to 0x9F, and those that the Windows
// conversion takes for a character that looks like them. It makes "?" of all the rest.
constexpr auto bestFits = std::to_array<Mapping>({
#include "platform/posix/bestfit1252.inc"
});
static_assert(std::is_sorted(bestFits.begin(), bestFits.end(), [](const Mapping& left, const Mapping& right) {
    return left.unit < right.unit;
}));

char Page1252Byte(WChar unit) {
    const auto found =
        std::lower_bound(bestFits.begin(), bestFits.end(), unit,
                         [](const Mapping& mapping, WChar wanted) { return mapping.unit < wanted; });
    return found != bestFits.end() && found->unit == unit ? static_cast<char>(found->byte) : '?';
}

void Page1252FromWide(CountingWriter<char>& out, const WChar* text, const WChar* end) {
    for (; text != end; ++text) {
        const bool isSame = *text < 0x80 || (*text >= 0xA0 && *text <= 0xFF);
        out.Put(isSame ? static_cast<char>(*text) : Page1252Byte(*text));
    }
}

void WideFromPage1252(TrustingWriter<WChar>& out, const char* text, const char* end) {
    while ((text = out.PutAscii(text, end)) != end) {
        const auto byte = static_cast<unsigned char>(*text++);
        out.Put(byte < 0xA0 ? page1252[byte - 0x80U] : static_cast<WChar>(byte));
    }
}

// As many units as bytes; returns 0 when there is no room for them.
int WideFromPage1252(const char* text, int length, WChar* out, int capacity) {
    if (capacity == 0) return length;
    if (out == nullptr || capacity < length) return 0;
    TrustingWriter<WChar> writer(out);
    WideFromPage1252(writer, text, text + length);
    return length;
}

// Any other code page, through iconv

// An open conversion; not valid when iconv does not know one of the encodings.
class Conversion {
public:
    Conversion(const char* to, const char* from) : m_handle(OpenConverter(to, from)) {}
    ~Conversion() {
        if (IsValid()) CloseConverter(m_handle);
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

// iconv's name of the ANSI code page that the environment chooses; empty for 1252.
std::string ChooseAnsiCodePage() {
    const char* const chosen = TrustedVariable("NVUTIL_ANSI_CODEPAGE");
    if (chosen == nullptr || std::string_view(chosen) == "1252") return {};
    const std::string encoding = std::string_view(chosen) == "65001" ? "UTF-8" : std::string("CP") + chosen;
    const bool isKnown =
        Conversion(utf16, encoding.c_str()).IsValid() && Conversion(encoding.c_str(), utf16).IsValid();
    return isKnown ? encoding : std::string();
}

// The choice, made once and never destroyed. Threads that come first make it each, and one of them prevails:
// so nobody ever waits, as a child of fork would for ever.
const std::string& OtherAnsiCodePage() {
    static constinit std::atomic<const std::string*> settled{nullptr};
    const std::string* name = settled;
    if (name != nullptr) return *name;
    auto own = std::make_unique<const std::string>(ChooseAnsiCodePage());
    return settled.compare_exchange_strong(name, own.get()) ? *own.release() : *name;
}

void AnsiFromWide(CountingWriter<char>& out, const WChar* text, const WChar* end) {
    const std::string& encoding = OtherAnsiCodePage();
    if (encoding.empty()) return Page1252FromWide(out, text, end);
    const auto length = static_cast<std::size_t>(end - text) * sizeof(WChar);
    for (const char byte : Conversion(encoding.c_str(), utf16).Convert(text, length, sizeof(WChar), "?"))
        out.Put(byte);
}

void WideFromAnsi(CountingWriter<WChar>& out, const char* text, const char* end) {
    const std::string& encoding = OtherAnsiCodePage();
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
    const WChar* const end = text + length;
    if (codePage == CodePage::Ansi) {
        CountingWriter<char> writer(out, capacity);
        AnsiFromWide(writer, text, end);
        return writer.Result(capacity);
    }
    if (capacity == 0) {
        const std::int64_t size = Utf8Length(text, static_cast<std::size_t>(length));
        return size <= INT_MAX ? static_cast<int>(size) : 0;
    }
    return Utf8FromWide(text, end, out, out != nullptr ? capacity : 0);
}

int WideFromNarrow(CodePage codePage, const char* text, int length, WChar* out, int capacity) {
    if (text == nullptr || length <= 0 || capacity < 0) return 0;
    if (codePage == CodePage::Utf8 && out != nullptr &&
        capacity >= length) {  // as many units as bytes at most
        TrustingWriter<WChar> writer(out);
        WideFromUtf8(writer, text, text + length);
        return writer.GetCount();
    }
    if (codePage == CodePage::Ansi && OtherAnsiCodePage().empty())
        return WideFromPage1252(text, length, out, capacity);
    CountingWriter<WChar> writer(out, capacity);
    if (codePage == CodePage::Utf8) {
        WideFromUtf8(writer, text, text + length);
    } else {
        WideFromAnsi(writer, text, text + length);
    }
    return writer.Result(capacity);
}

}  // namespace platform
