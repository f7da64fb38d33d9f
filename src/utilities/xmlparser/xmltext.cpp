// Decoding of documents.
#include "utilities/xmlparser/xmltext.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

#include "platform/codepage.h"

namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr const WChar* badCharacter = NV_TEXT("An invalid character was found in text content.");
constexpr const WChar* badSwitch =
    NV_TEXT("Switch from current encoding to specified encoding not supported.");
constexpr const WChar* unknownEncoding = NV_TEXT("System does not support the specified encoding.");

// The characters of windows-1252 from 0x80 on; 0 stands for a byte without one.
constexpr std::array<char16_t, 32> windows1252 = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

struct NamedEncoding {
    std::string_view name;
    XmlEncoding encoding;
};
constexpr NamedEncoding namedEncodings[] = {
    {"utf-8", XmlEncoding::Utf8},
    {"iso-8859-1", XmlEncoding::Latin1},
    {"us-ascii", XmlEncoding::Ascii},
    {"windows-1252", XmlEncoding::Windows1252},
    {"utf-16", XmlEncoding::Utf16LittleEndian},
};

bool IsUtf16(XmlEncoding encoding) {
    return encoding == XmlEncoding::Utf16LittleEndian || encoding == XmlEncoding::Utf16BigEndian;
}

void Append(std::string& out, char32_t character) {
    const auto put = [&out](char32_t byte) { out += static_cast<char>(byte); };
    if (character < 0x80) return put(character);
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            put(0xE0 | character >> 12);
        } else {
            put(0xF0 | character >> 18);
            put(0x80 | (character >> 12 & 0x3F));
        }
        put(0x80 | (character >> 6 & 0x3F));
    }
    put(0x80 | (character & 0x3F));
}

/// The value of an encoding's name in a declaration that a text begins with; empty when there is none.
std::string_view DeclaredEncodingOf(std::string_view text) {
    constexpr std::string_view opening = "<?xml";
    constexpr std::string_view keyword = "encoding";
    if (!text.starts_with(opening)) return {};
    std::string_view declaration = text.substr(opening.size());
    declaration = declaration.substr(0, declaration.find("?>"));
    const std::size_t found = declaration.find(keyword);
    if (declaration.empty() || blanks.find(declaration[0]) == std::string_view::npos ||
        found == std::string_view::npos) {
        return {};
    }
    declaration.remove_prefix(found + keyword.size());
    const std::size_t quote = declaration.find_first_not_of(" \t\r\n=");
    if (quote == std::string_view::npos) return {};
    const std::size_t end = declaration.find(declaration[quote], quote + 1);
    return end == std::string_view::npos ? std::string_view()
                                         : declaration.substr(quote + 1, end - quote - 1);
}

const NamedEncoding* FindEncoding(std::string_view name) {
    const auto isSame = [](char left, char right) {
        return (left >= 'A' && left <= 'Z' ? left + 32 : left) == right;
    };
    const auto* const found = std::ranges::find_if(namedEncodings, [&](const NamedEncoding& known) {
        return std::ranges::equal(name, known.name, isSame);
    });
    return found != std::end(namedEncodings) ? found : nullptr;
}

bool IsAllowed(char32_t character) {
    if (character < 0x20) return character == '\t' || character == '\n' || character == '\r';
    return character < 0xD800 || (character >= 0xE000 && character < 0xFFFE) ||
           (character >= 0x10000 && character < 0x110000);
}

/// The length of the allowed character at the beginning of UTF-8; 0 when there is none.
std::size_t LengthOfCharacter(std::string_view text) {
    const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byteAt(0);
    if (lead < 0x80) return IsAllowed(lead) ? 1 : 0;
    const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (length == 0 || length > text.size()) return 0;
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    char32_t character = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) return 0;
        character = character << 6 | (byteAt(i) & 0x3Fu);
    }
    return character >= smallest[length] && IsAllowed(character) ? length : 0;
}

/// Whether eight bytes are all printable ASCII, as nearly all bytes of nearly all documents are.
bool IsPrintable(const char* bytes) {
    constexpr std::uint64_t highest = 0x8080808080808080;
    constexpr std::uint64_t firstPrintable = 0x2020202020202020;
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return ((word | (word - firstPrintable)) & highest) == 0;
}

/// The end of the longest beginning that is sound.
std::size_t SoundLength(std::string_view text) {
    constexpr std::size_t wordSize = sizeof(std::uint64_t);
    std::size_t position = 0;
    while (position < text.size()) {
        while (text.size() - position >= wordSize && IsPrintable(text.data() + position))
            position += wordSize;
        const std::size_t end = std::min(position + wordSize, text.size());
        while (position < end) {
            const std::size_t length = LengthOfCharacter(text.substr(position));
            if (length == 0) return position;
            position += length;
        }
    }
    return position;
}

}  // namespace

XmlText::XmlText(std::span<const BYTE> bytes) {
    DetectEncoding(bytes);
    const std::span<const BYTE> content = bytes.subspan(m_markLength);
    if (!IsUtf16(m_encoding)) {
        m_original = {reinterpret_cast<const char*>(content.data()), content.size()};
        SettleDeclaredEncoding(m_encoding);
    }
    if (m_fault) return;
    if (m_encoding != XmlEncoding::Utf8) Decode(content);
    if (IsUtf16(m_encoding)) SettleDeclaredEncoding(m_encoding);

    const std::size_t sound = SoundLength(Get());
    if (sound < Get().size() && !(m_fault && m_fault->offset < sound))
        m_fault = {sound, XmlParseError::malformed, badCharacter};
}

void XmlText::DetectEncoding(std::span<const BYTE> bytes) {
    struct Beginning {
        std::string_view bytes;
        std::size_t markLength;
        XmlEncoding encoding;
    };
    using namespace std::string_view_literals;
    static constexpr Beginning beginnings[] = {
        {"\xEF\xBB\xBF"sv, 3, XmlEncoding::Utf8},       {"\xFF\xFE"sv, 2, XmlEncoding::Utf16LittleEndian},
        {"\xFE\xFF"sv, 2, XmlEncoding::Utf16BigEndian}, {"<\0"sv, 0, XmlEncoding::Utf16LittleEndian},
        {"\0<"sv, 0, XmlEncoding::Utf16BigEndian},
    };
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    for (const Beginning& beginning : beginnings) {
        if (!text.starts_with(beginning.bytes)) continue;
        m_encoding = beginning.encoding;
        m_markLength = beginning.markLength;
        return;
    }
}

void XmlText::SettleDeclaredEncoding(XmlEncoding& encoding) {
    m_declaredEncoding = DeclaredEncodingOf(Get());
    if (m_declaredEncoding.empty()) return;
    const NamedEncoding* const named = FindEncoding(m_declaredEncoding);
    const bool isFixed = m_markLength != 0 || IsUtf16(encoding);
    if (named == nullptr) {
        m_fault = {0, XmlParseError::unsupported, unknownEncoding};
    } else if (IsUtf16(named->encoding) != IsUtf16(encoding) ||
               (isFixed && !IsUtf16(encoding) && named->encoding != encoding)) {
        m_fault = {0, XmlParseError::malformed, badSwitch};
    } else if (!isFixed) {
        encoding = named->encoding;
    }
}

void XmlText::Decode(std::span<const BYTE> bytes) {
    m_isConverted = true;
    m_converted.reserve(bytes.size() + bytes.size() / 8);
    const auto refuse = [this] { m_fault = {m_converted.size(), XmlParseError::malformed, badCharacter}; };
    if (!IsUtf16(m_encoding)) {
        for (const BYTE byte : bytes) {
            const char32_t character = m_encoding == XmlEncoding::Windows1252 && byte >= 0x80 && byte < 0xA0
                                           ? windows1252[byte - 0x80]
                                           : byte;
            if ((m_encoding == XmlEncoding::Ascii && byte >= 0x80) || (character == 0 && byte != 0))
                return refuse();
            Append(m_converted, character);
        }
        return;
    }
    const std::size_t low = m_encoding == XmlEncoding::Utf16LittleEndian ? 0 : 1;
    const auto unitAt = [&](std::size_t i) -> char32_t {
        return i + 1 < bytes.size() ? bytes[i + low] | static_cast<char32_t>(bytes[i + 1 - low]) << 8 : 0;
    };
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        char32_t character = unitAt(i);
        if (character >= 0xD800 && character < 0xE000) {
            const char32_t second = unitAt(i + 2);
            if (character >= 0xDC00 || second < 0xDC00 || second >= 0xE000) return refuse();
            character = 0x10000 + ((character - 0xD800) << 10) + (second - 0xDC00);
            i += 2;
        }
        if (i + 1 == bytes.size()) return refuse();
        Append(m_converted, character);
    }
}

std::size_t XmlText::OriginalOffset(std::size_t offset) const {
    if (!m_isConverted) return m_markLength + offset;
    std::size_t units = 0;
    for (const char c : Get().substr(0, offset)) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isPair = byte >= 0xF0 && IsUtf16(m_encoding);
        if ((byte & 0xC0) != 0x80) units += isPair ? 2 : 1;
    }
    return m_markLength + units * (IsUtf16(m_encoding) ? 2 : 1);
}

XmlParseError XmlText::Locate(const XmlFault& fault, const CXString& url) const {
    constexpr std::size_t longestLine = 512;
    const std::string_view text = Get();
    const std::string_view before = text.substr(0, std::min(fault.offset, text.size()));
    const std::size_t lineBegin = before.find_last_of("\r\n") + 1;
    const std::string_view untilFault = before.substr(lineBegin);
    LONG line = 1;
    for (std::size_t i = 0; i < lineBegin; ++i)
        line += before[i] == '\n' || (before[i] == '\r' && !(i + 1 < text.size() && text[i + 1] == '\n'));

    // Of a long line what stands around the fault is shown, from the beginning of a character to the end of
    // one.
    const auto isInside = [&](std::size_t i) { return i < text.size() && (text[i] & 0xC0) == 0x80; };
    std::size_t from = untilFault.size() > longestLine / 2 ? before.size() - longestLine / 2 : lineBegin;
    while (isInside(from))
        ++from;
    std::size_t to =
        std::min(text.find_first_of("\r\n", before.size()), std::min(text.size(), from + longestLine));
    if (m_fault) to = std::min(to, std::max(m_fault->offset, from));
    while (to > from && isInside(to))
        --to;

    XmlParseError error;
    error.errorCode = fault.code;
    error.url = url;
    error.reason = fault.reason;
    error.sourceText = WideText(text.substr(from, to - from));
    error.line = line;
    error.linePosition =
        1 + static_cast<LONG>(std::ranges::count_if(untilFault, [](char c) { return (c & 0xC0) != 0x80; }));
    error.filePosition = static_cast<LONG>(
        std::min<std::size_t>(OriginalOffset(before.size()), std::numeric_limits<LONG>::max()));
    return error;
}

std::optional<XmlEncoding> DeclaredEncoding(std::string_view utf8) {
    const std::string_view name = DeclaredEncodingOf(utf8);
    if (name.empty()) return XmlEncoding::Utf8;
    const NamedEncoding* const named = FindEncoding(name);
    return named != nullptr ? std::optional(named->encoding) : std::nullopt;
}

char32_t TakeCharacter(std::string_view& utf8) {
    const std::size_t length = std::max<std::size_t>(LengthOfCharacter(utf8), 1);
    const auto byteAt = [utf8](std::size_t i) { return static_cast<unsigned char>(utf8[i]); };
    char32_t character = length == 1 ? byteAt(0) : byteAt(0) & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i)
        character = character << 6 | (byteAt(i) & 0x3Fu);
    utf8.remove_prefix(length);
    return character;
}

bool AppendEncoded(std::string& bytes, char32_t character, XmlEncoding encoding) {
    const auto putUnit = [&](char32_t unit) {
        const bool isLittle = encoding == XmlEncoding::Utf16LittleEndian;
        bytes += static_cast<char>(isLittle ? unit & 0xFF : unit >> 8);
        bytes += static_cast<char>(isLittle ? unit >> 8 : unit & 0xFF);
    };
    if (encoding == XmlEncoding::Utf8) {
        Append(bytes, character);
    } else if (IsUtf16(encoding)) {
        if (character >= 0x10000) putUnit(0xD7C0 + (character >> 10));
        putUnit(character >= 0x10000 ? 0xDC00 + (character & 0x3FF) : character);
    } else if (character < 0x80 || (encoding == XmlEncoding::Latin1 && character < 0x100) ||
               (encoding == XmlEncoding::Windows1252 && character >= 0xA0 && character < 0x100)) {
        bytes += static_cast<char>(character);
    } else {
        const auto* const found = std::ranges::find(windows1252, character);
        if (encoding != XmlEncoding::Windows1252 || found == windows1252.end()) return false;
        bytes += static_cast<char>(0x80 + (found - windows1252.begin()));
    }
    return true;
}

CXString WideText(std::string_view utf8) {
    const int length = static_cast<int>(utf8.size());
    CXString text;
    if (length == 0) return text;
    WChar* const units = text.GetBufferSetLength(length);  // never more units than bytes
    unsigned all = 0;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto byte = static_cast<unsigned char>(utf8[i]);
        all |= byte;
        units[i] = byte;
    }
    if (all >= 0x80) {
        text.ReleaseBuffer(
            platform::WideFromNarrow(platform::CodePage::Utf8, utf8.data(), length, units, length));
    }
    return text;
}

std::string Utf8Text(const CXString& text) {
    constexpr int mostBytesOfUnit = 3;
    std::string utf8(static_cast<std::size_t>(text.GetLength()) * mostBytesOfUnit, '\0');
    const int written = platform::NarrowFromWide(platform::CodePage::Utf8, text, text.GetLength(),
                                                 utf8.data(), static_cast<int>(utf8.size()));
    utf8.resize(static_cast<std::size_t>(written));
    return utf8;
}
