// Decoding of documents.
#include "utilities/xmlparser/xmltext.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>

#include "platform/codepage.h"
#include "platform/utf8.h"
#include "utilities/xmlparser/xmllimits.h"

namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr const WChar* badCharacter = NV_TEXT("An invalid character was found in text content.");
constexpr const WChar* badSwitch =
    NV_TEXT("Switch from current encoding to specified encoding not supported.");
constexpr const WChar* tooLarge = NV_TEXT("The document is too large.");
constexpr const WChar* unknownEncoding = NV_TEXT("System does not support the specified encoding.");

bool IsAllowed(char32_t character) {
    if (character < 0x20) return character == '\t' || character == '\n' || character == '\r';
    return character < 0xD800 || (character >= 0xE000 && character < 0xFFFE) ||
           (character >= 0x10000 && character < 0x110000);
}

/// The length of the allowed character at the beginning of UTF-8; 0 when there is none.
std::size_t LengthOfCharacter(std::string_view text) {
    char32_t character = 0;
    const std::size_t length = platform::DecodeUtf8(text.data(), text.size(), character);
    return IsAllowed(character) ? length : 0;
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

XmlText::XmlText(std::span<const BYTE> bytes) {
    DetectEncoding(bytes);
    const std::span<const BYTE> content = bytes.subspan(m_markLength);
    m_original = {reinterpret_cast<const char*>(content.data()), content.size()};
    const bool isWide = IsUtf16(*m_encoding);
    if (!isWide) SettleDeclaredEncoding();
    if (m_fault) return;
    if (m_encoding->scheme != XmlScheme::Utf8) Decode();
    if (isWide) SettleDeclaredEncoding();

    const std::size_t sound = SoundLength(Get());
    if (sound < Get().size() && !(m_fault && m_fault->offset < sound))
        m_fault = {sound, nvutil::XmlParseError::malformed, badCharacter};
}

void XmlText::DetectEncoding(std::span<const BYTE> bytes) {
    struct Beginning {
        std::string_view bytes;
        std::size_t markLength;
        std::string_view encoding;
    };
    using namespace std::string_view_literals;
    static constexpr Beginning beginnings[] = {
        {"\xEF\xBB\xBF"sv, 3, "utf-8"}, {"\xFF\xFE"sv, 2, "utf-16le"}, {"\xFE\xFF"sv, 2, "utf-16be"},
        {"<\0"sv, 0, "utf-16le"},       {"\0<"sv, 0, "utf-16be"},      {""sv, 0, "utf-8"},
    };
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const auto* const found = std::ranges::find_if(
        beginnings, [text](const Beginning& beginning) { return text.starts_with(beginning.bytes); });
    m_encoding = FindXmlEncoding(found->encoding);
    m_markLength = found->markLength;
}

void XmlText::SettleDeclaredEncoding() {
    m_declaredEncoding = DeclaredEncodingOf(Get());
    if (m_declaredEncoding.empty()) return;
    const XmlEncoding* const named = FindXmlEncoding(m_declaredEncoding);
    const bool isFixed = m_markLength != 0 || IsUtf16(*m_encoding);
    if (named == nullptr) {
        m_fault = {0, nvutil::XmlParseError::unsupported, unknownEncoding};
    } else if (IsUtf16(*named) != IsUtf16(*m_encoding) ||
               (isFixed && named->scheme != m_encoding->scheme && named->name != "utf-16")) {
        m_fault = {0, nvutil::XmlParseError::malformed, badSwitch};
    } else if (!isFixed) {
        m_encoding = named;
    }
}

void XmlText::Decode() {
    m_isConverted = true;
    m_converted.reserve(m_original.size() + m_original.size() / 8);
    XmlDecoder decoder(*m_encoding, m_original);
    while (const std::optional<char32_t> character = decoder.Take()) {
        AppendUtf8(m_converted, *character);
        if (m_converted.size() > xmllimits::documentBytes) {
            m_fault = {0, nvutil::XmlParseError::limitExceeded, tooLarge};
            return;
        }
    }
    if (!decoder.IsAtEnd()) m_fault = {m_converted.size(), nvutil::XmlParseError::malformed, badCharacter};
    // Bytes that looked like a declaration could have been halves of other characters.
    if (!IsUtf16(*m_encoding) && DeclaredEncodingOf(m_converted) != m_declaredEncoding)
        m_fault = {0, nvutil::XmlParseError::malformed, badSwitch};
}

std::size_t XmlText::OriginalOffset(std::size_t offset) const {
    if (!m_isConverted) return m_markLength + offset;
    XmlDecoder decoder(*m_encoding, m_original);
    for (std::string text; text.size() < offset;) {
        const std::optional<char32_t> character = decoder.Take();
        if (!character) break;
        AppendUtf8(text, *character);
    }
    return m_markLength + decoder.GetPosition();
}

nvutil::XmlParseError XmlText::Locate(const XmlFault& fault, const CXString& url) const {
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

    nvutil::XmlParseError error;
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

const XmlEncoding* DeclaredEncoding(std::string_view utf8) {
    const std::string_view name = DeclaredEncodingOf(utf8);
    return FindXmlEncoding(name.empty() ? "utf-8" : name);
}

char32_t TakeCharacter(std::string_view& utf8) {
    char32_t character = 0;
    const std::size_t length = platform::DecodeUtf8(utf8.data(), utf8.size(), character);
    if (length == 0) character = static_cast<unsigned char>(utf8.front());
    utf8.remove_prefix(std::max<std::size_t>(length, 1));
    return character;
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
    return platform::Utf8Of({text, static_cast<std::size_t>(text.GetLength())});
}

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

constexpr Range startRanges[] = {
    {'A', 'Z'},       {'_', '_'},       {'a', 'z'},       {0xC0, 0xD6},     {0xD8, 0xF6},
    {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F},
    {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
constexpr Range furtherRanges[] = {
    {'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040},
};

template <std::size_t count>
bool IsIn(const Range (&ranges)[count], char32_t character) {
    return std::any_of(std::begin(ranges), std::end(ranges), [character](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

char32_t TakeCharacter(const CXString& text, int& position) {
    const char32_t first = text.GetAt(position++);
    const char32_t second = text.GetAt(position);
    if (first < 0xD800 || first > 0xDBFF || second < 0xDC00 || second > 0xDFFF) return first;
    ++position;
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

}  // namespace

bool IsXmlName(const CXString& name) {
    const int colon = name.Find(WChar{':'});
    const int nameStart = colon + 1;  // behind the prefix; 0 when there is none
    for (int position = 0; position < name.GetLength();) {
        const bool isFirst = position == 0 || position == nameStart;
        const bool isColon = position == colon && colon > 0;
        const char32_t character = TakeCharacter(name, position);
        const bool isAllowed = IsIn(startRanges, character) || (!isFirst && IsIn(furtherRanges, character));
        if (!isAllowed && !isColon) return false;
    }
    return !name.IsEmpty() && nameStart < name.GetLength();
}

bool IsXmlAttribute(const CXString& name, const CXString& value) {
    constexpr int prefixAt = 6;  // behind "xmlns:"
    const bool isForPrefix = name.Left(prefixAt) == NV_TEXT("xmlns:");
    if (!isForPrefix && name != NV_TEXT("xmlns")) return IsXmlName(name);
    const CXString prefix = name.Mid(isForPrefix ? prefixAt : name.GetLength());
    const bool isXml = prefix == NV_TEXT("xml");
    const bool isXmlUri = value == NV_TEXT("http://www.w3.org/XML/1998/namespace");
    return IsXmlName(name) && prefix != NV_TEXT("xmlns") && isXml == isXmlUri &&
           value != NV_TEXT("http://www.w3.org/2000/xmlns/") && !(isForPrefix && value.IsEmpty());
}
