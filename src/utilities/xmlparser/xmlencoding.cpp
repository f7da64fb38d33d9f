// The encodings of documents.
#include "utilities/xmlparser/xmlencoding.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>

#include "platform/utf8.h"
#include "utilities/xmlparser/xmlcharactertables.h"
#include "utilities/xmlparser/xmltext.h"

namespace {

namespace tables = xmlcharactertables;
using enum XmlScheme;

// Where a name is used for more than its standard says, as by nearly all who write it, the larger set is
// read: Shift_JIS, GB2312, EUC-KR and TIS-620 are the code pages that contain them.
constexpr XmlEncoding encodings[] = {
    {"utf-8", Utf8},
    {"utf-16", Utf16LittleEndian},
    {"utf-16le", Utf16LittleEndian},
    {"utf-16be", Utf16BigEndian},
    {"us-ascii", Ascii},
    {"iso-8859-1", Tables, {"ISO-8859-1", 28591}, {.hasControls = true}},
    {"iso-8859-2", Tables, {"ISO-8859-2", 28592}, {.hasControls = true}},
    {"iso-8859-3", Tables, {"ISO-8859-3", 28593}, {.hasControls = true}},
    {"iso-8859-4", Tables, {"ISO-8859-4", 28594}, {.hasControls = true}},
    {"iso-8859-5", Tables, {"ISO-8859-5", 28595}, {.hasControls = true}},
    {"iso-8859-6", Tables, {"ISO-8859-6", 28596}, {.hasControls = true}},
    {"iso-8859-7", Tables, {"ISO-8859-7", 28597}, {.sequences = tables::iso8859_7, .hasControls = true}},
    {"iso-8859-8", Tables, {"ISO-8859-8", 28598}, {.sequences = tables::iso8859_8, .hasControls = true}},
    {"iso-8859-9", Tables, {"ISO-8859-9", 28599}, {.hasControls = true}},
    {"iso-8859-10", Tables, {}, {.upperHalf = tables::iso8859_10, .hasControls = true}},
    {"iso-8859-13", Tables, {"ISO-8859-13", 28603}, {.hasControls = true}},
    {"iso-8859-14", Tables, {}, {.upperHalf = tables::iso8859_14, .hasControls = true}},
    {"iso-8859-15", Tables, {"ISO-8859-15", 28605}, {.hasControls = true}},
    {"iso-8859-16", Tables, {}, {.upperHalf = tables::iso8859_16, .hasControls = true}},
    {"windows-874", Tables, {"CP874", 874}},
    {"windows-1250", Tables, {"CP1250", 1250}},
    {"windows-1251", Tables, {"CP1251", 1251}},
    {"windows-1252", Tables, {"CP1252", 1252}},
    {"windows-1253", Tables, {"CP1253", 1253}},
    {"windows-1254", Tables, {"CP1254", 1254}},
    {"windows-1255", Tables, {"CP1255", 1255}, {.sequences = tables::windows1255}},
    {"windows-1256", Tables, {"CP1256", 1256}},
    {"windows-1257", Tables, {"CP1257", 1257}},
    {"windows-1258", Tables, {"CP1258", 1258}},
    {"koi8-r", Tables, {"KOI8-R", 20866}},
    {"koi8-u", Tables, {"KOI8-U", 21866}, {.sequences = tables::koi8U}},
    {"ibm437", Tables, {"CP437", 437}},
    {"ibm850", Tables, {"CP850", 850}},
    {"ibm852", Tables, {"CP852", 852}},
    {"ibm855", Tables, {"CP855", 855}},
    {"ibm866", Tables, {"CP866", 866}},
    {"shift_jis", Tables, {"CP932", 932}, {.readOnly = tables::shiftJisReadOnly}},
    {"euc-jp", EucJp, {"EUC-JP", 20932}},
    {"iso-2022-jp", Iso2022Jp, {"EUC-JP", 20932}},
    {"gbk", Tables, {"GBK", 936}},
    {"gb18030", Gb18030, {"GBK", 936}, {.sequences = tables::gb18030}},
    {"big5", Tables, {"BIG5", 950}, {.readOnly = tables::big5ReadOnly}},
    {"euc-kr", Tables, {"UHC", 949}},
};

struct Alias {
    std::string_view name;
    std::string_view preferred;
};
constexpr Alias aliases[] = {
    {"utf8", "utf-8"},
    {"ascii", "us-ascii"},
    {"ansi_x3.4-1968", "us-ascii"},
    {"iso646-us", "us-ascii"},
    {"latin1", "iso-8859-1"},
    {"l1", "iso-8859-1"},
    {"cp819", "iso-8859-1"},
    {"ibm819", "iso-8859-1"},
    {"latin2", "iso-8859-2"},
    {"l2", "iso-8859-2"},
    {"latin3", "iso-8859-3"},
    {"l3", "iso-8859-3"},
    {"latin4", "iso-8859-4"},
    {"l4", "iso-8859-4"},
    {"cyrillic", "iso-8859-5"},
    {"arabic", "iso-8859-6"},
    {"greek", "iso-8859-7"},
    {"hebrew", "iso-8859-8"},
    {"iso-8859-8-i", "iso-8859-8"},
    {"latin5", "iso-8859-9"},
    {"l5", "iso-8859-9"},
    {"latin6", "iso-8859-10"},
    {"l6", "iso-8859-10"},
    {"iso-celtic", "iso-8859-14"},
    {"latin8", "iso-8859-14"},
    {"l8", "iso-8859-14"},
    {"latin-9", "iso-8859-15"},
    {"latin10", "iso-8859-16"},
    {"l10", "iso-8859-16"},
    {"tis-620", "windows-874"},
    {"iso-8859-11", "windows-874"},
    {"cp874", "windows-874"},
    {"cp1250", "windows-1250"},
    {"cp1251", "windows-1251"},
    {"cp1252", "windows-1252"},
    {"cp1253", "windows-1253"},
    {"cp1254", "windows-1254"},
    {"cp1255", "windows-1255"},
    {"cp1256", "windows-1256"},
    {"cp1257", "windows-1257"},
    {"cp1258", "windows-1258"},
    {"x-cp1250", "windows-1250"},
    {"x-cp1251", "windows-1251"},
    {"x-cp1252", "windows-1252"},
    {"cskoi8r", "koi8-r"},
    {"koi8_r", "koi8-r"},
    {"cp437", "ibm437"},
    {"437", "ibm437"},
    {"cp850", "ibm850"},
    {"850", "ibm850"},
    {"cp852", "ibm852"},
    {"852", "ibm852"},
    {"cp855", "ibm855"},
    {"855", "ibm855"},
    {"cp866", "ibm866"},
    {"866", "ibm866"},
    {"shift-jis", "shift_jis"},
    {"sjis", "shift_jis"},
    {"x-sjis", "shift_jis"},
    {"ms_kanji", "shift_jis"},
    {"csshiftjis", "shift_jis"},
    {"windows-31j", "shift_jis"},
    {"cswindows31j", "shift_jis"},
    {"cp932", "shift_jis"},
    {"x-euc-jp", "euc-jp"},
    {"eucjp", "euc-jp"},
    {"cseucpkdfmtjapanese", "euc-jp"},
    {"extended_unix_code_packed_format_for_japanese", "euc-jp"},
    {"csiso2022jp", "iso-2022-jp"},
    {"gb2312", "gbk"},
    {"csgb2312", "gbk"},
    {"gb_2312-80", "gbk"},
    {"euc-cn", "gbk"},
    {"x-gbk", "gbk"},
    {"cp936", "gbk"},
    {"ms936", "gbk"},
    {"windows-936", "gbk"},
    {"big5-tw", "big5"},
    {"cn-big5", "big5"},
    {"x-x-big5", "big5"},
    {"csbig5", "big5"},
    {"cp950", "big5"},
    {"euckr", "euc-kr"},
    {"cseuckr", "euc-kr"},
    {"ks_c_5601-1987", "euc-kr"},
    {"ks_c_5601-1989", "euc-kr"},
    {"ksc_5601", "euc-kr"},
    {"ksc5601", "euc-kr"},
    {"korean", "euc-kr"},
    {"uhc", "euc-kr"},
    {"cp949", "euc-kr"},
    {"windows-949", "euc-kr"},
};

/// The form in which the names are compared: lower case; "iso8859-2" and "iso_8859-2" are "iso-8859-2".
std::string Normalised(std::string_view name) {
    std::string lower(name);
    for (char& c : lower)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    for (const std::string_view variant : {"iso8859", "iso_8859"}) {
        if (lower.starts_with(variant)) return "iso-8859" + lower.substr(variant.size());
    }
    return lower;
}

const XmlEncoding* FindByPreferredName(std::string_view name) {
    const auto* const found = std::ranges::find(encodings, name, &XmlEncoding::name);
    return found != std::end(encodings) ? found : nullptr;
}

/// The tables of an encoding, which are made when they are first asked for and never destroyed: threads that
/// outlive everything else may need them.
const XmlCharacters* CharactersOf(const XmlEncoding& encoding) {
    if (encoding.scheme < Tables) return nullptr;
    static std::array<std::atomic<const XmlCharacters*>, std::size(encodings)> known;
    std::atomic<const XmlCharacters*>& place = known[static_cast<std::size_t>(&encoding - encodings)];
    if (const XmlCharacters* const characters = place) return characters;
    const bool isJapanese = encoding.scheme == EucJp || encoding.scheme == Iso2022Jp;
    auto made = std::make_unique<const XmlCharacters>(encoding.set, encoding.exceptions, isJapanese);
    const XmlCharacters* first = nullptr;  // of the threads that make them at the same time
    return place.compare_exchange_strong(first, made.get()) ? made.release() : first;
}

constexpr char ascii = 'B';
constexpr char roman = 'J';
constexpr std::uint32_t highBits = 0x8080;

}  // namespace

const XmlEncoding* FindXmlEncoding(std::string_view name) {
    constexpr std::size_t longestName = 64;
    if (name.size() > longestName) return nullptr;
    const std::string wanted = Normalised(name);
    const auto* const alias = std::ranges::find(aliases, wanted, &Alias::name);
    const XmlEncoding* const found =
        FindByPreferredName(alias != std::end(aliases) ? alias->preferred : std::string_view(wanted));
    if (found == nullptr) return nullptr;
    const XmlCharacters* const characters = CharactersOf(*found);
    return characters == nullptr || characters->IsKnown() ? found : nullptr;
}

bool IsUtf16(const XmlEncoding& encoding) {
    return encoding.scheme == Utf16LittleEndian || encoding.scheme == Utf16BigEndian;
}

void AppendUtf8(std::string& text, char32_t character) {
    platform::EncodeUtf8(character, [&text](char byte) { text += byte; });
}

// --- Reading --------------------------------------------------------------------------------------------

XmlDecoder::XmlDecoder(const XmlEncoding& encoding, std::string_view bytes)
    : m_encoding(encoding), m_characters(CharactersOf(encoding)), m_bytes(bytes) {}

/// A byte ahead; 0, which continues nothing, behind the end.
unsigned XmlDecoder::ByteAt(std::size_t i) const {
    return m_position + i < m_bytes.size() ? static_cast<unsigned char>(m_bytes[m_position + i]) : 0;
}

std::optional<char32_t> XmlDecoder::Take() {
    if (IsAtEnd()) return {};
    if (IsUtf16(m_encoding)) return TakeUtf16(m_encoding.scheme == Utf16LittleEndian ? 0 : 1);
    if (m_encoding.scheme == Iso2022Jp) return TakeIso2022Jp();
    if (ByteAt(0) < 0x80) return static_cast<unsigned char>(m_bytes[m_position++]);
    return m_characters != nullptr ? TakeFromTables() : std::nullopt;
}

std::optional<char32_t> XmlDecoder::TakeUtf16(std::size_t low) {
    const auto unitAt = [&](std::size_t i) -> char32_t { return ByteAt(i + low) | ByteAt(i + 1 - low) << 8; };
    const char32_t unit = unitAt(0);
    const bool isPair = unit >= 0xD800 && unit < 0xE000;
    const std::size_t length = isPair ? 4 : 2;
    if (m_bytes.size() - m_position < length) return {};
    if (isPair && (unit >= 0xDC00 || unitAt(2) < 0xDC00 || unitAt(2) >= 0xE000)) return {};
    const char32_t character = isPair ? 0x10000 + ((unit - 0xD800) << 10) + (unitAt(2) - 0xDC00) : unit;
    m_position += length;
    return character;
}

std::optional<char32_t> XmlDecoder::TakeFromTables() {
    const auto give = [this](char16_t character, std::size_t length) -> std::optional<char32_t> {
        if (character == 0) return {};
        m_position += length;
        return character;
    };
    if (const char16_t single = m_characters->Single(ByteAt(0))) return give(single, 1);
    const bool isTriple = m_encoding.scheme == EucJp && ByteAt(0) == 0x8F;
    if (isTriple) return give(m_characters->Triple(ByteAt(1), ByteAt(2)), 3);
    const bool isFourBytes = m_encoding.scheme == Gb18030 && ByteAt(1) >= '0' && ByteAt(1) <= '9';
    return isFourBytes ? TakeFourBytes() : give(m_characters->Pair(ByteAt(0), ByteAt(1)), 2);
}

// Four bytes are a number of four digits: the first and the third have 126 values, the others ten.
std::optional<char32_t> XmlDecoder::TakeFourBytes() {
    constexpr char32_t firstBeyond = 189000;  // of the characters from U+10000 on
    if (ByteAt(0) > 0xFE || ByteAt(0) < 0x81 || ByteAt(2) < 0x81 || ByteAt(2) > 0xFE || ByteAt(3) < '0' ||
        ByteAt(3) > '9') {
        return {};
    }
    const char32_t number =
        (((ByteAt(0) - 0x81) * 10 + ByteAt(1) - '0') * 126 + ByteAt(2) - 0x81) * 10 + ByteAt(3) - '0';
    char32_t character = 0;
    if (number >= firstBeyond) {
        character = number - firstBeyond + 0x10000;
        if (character > 0x10FFFF) return {};
    } else if (number < tables::gb18030SmallCodes) {
        const auto* const next =
            std::ranges::upper_bound(tables::gb18030Ranges, number, {}, &tables::Gb18030Range::first);
        const tables::Gb18030Range& range = *std::prev(next);
        character = range.character != 0 ? range.character + (number - range.first) : 0;
    }
    if (character == 0) return {};
    m_position += 4;
    return character;
}

std::optional<char32_t> XmlDecoder::TakeIso2022Jp() {
    if (!TakeEscapes()) return {};
    const unsigned byte = ByteAt(0);
    if (byte >= 0x80) return {};
    // Line ends and blanks are what they are in every set.
    if (m_set == ascii || m_set == roman || byte <= 0x20) {
        ++m_position;
        if (m_set == roman && byte == 0x5C) return 0xA5;
        if (m_set == roman && byte == 0x7E) return 0x203E;
        return byte;
    }
    const char16_t character = m_characters->Pair(byte | 0x80, ByteAt(1) | 0x80);
    if (character == 0 || ByteAt(1) >= 0x80) return {};
    m_position += 2;
    return character;
}

/// @return whether a character follows
bool XmlDecoder::TakeEscapes() {
    struct Escape {
        std::string_view bytes;
        char set;
    };
    static constexpr Escape escapes[] = {
        {"\x1B(B", ascii}, {"\x1B(J", roman}, {"\x1B$@", '@'}, {"\x1B$B", '@'}};
    while (ByteAt(0) == 0x1B) {
        const std::string_view rest = m_bytes.substr(m_position);
        const auto* const found = std::ranges::find_if(
            escapes, [&rest](const Escape& escape) { return rest.starts_with(escape.bytes); });
        if (found == std::end(escapes)) return false;
        m_set = found->set;
        m_position += found->bytes.size();
    }
    return !IsAtEnd();
}

// --- Writing --------------------------------------------------------------------------------------------

XmlByteWriter::XmlByteWriter(const XmlEncoding& encoding)
    : m_encoding(encoding), m_characters(CharactersOf(encoding)) {}

bool XmlByteWriter::Put(char32_t character) {
    if (m_encoding.scheme == Utf8) {
        AppendUtf8(m_bytes, character);
    } else if (IsUtf16(m_encoding)) {
        PutUtf16(character);
    } else if (m_encoding.scheme == Iso2022Jp) {
        return PutIso2022Jp(character);
    } else if (character < 0x80) {
        m_bytes += static_cast<char>(character);
    } else {
        const std::uint32_t code = m_characters != nullptr ? m_characters->CodeOf(character) : 0;
        if (code == 0) return m_encoding.scheme == Gb18030 && PutGb18030(character);
        PutCode(code);
    }
    return true;
}

std::string XmlByteWriter::Take() {
    Choose(ascii);
    return std::move(m_bytes);
}

void XmlByteWriter::PutUtf16(char32_t character) {
    const auto putUnit = [this](char32_t unit) {
        const bool isLittle = m_encoding.scheme == Utf16LittleEndian;
        m_bytes += static_cast<char>(isLittle ? unit & 0xFF : unit >> 8);
        m_bytes += static_cast<char>(isLittle ? unit >> 8 : unit & 0xFF);
    };
    if (character >= 0x10000) putUnit(0xD7C0 + (character >> 10));
    putUnit(character >= 0x10000 ? 0xDC00 + (character & 0x3FF) : character);
}

void XmlByteWriter::PutCode(std::uint32_t code) {
    for (const int shift : {16, 8, 0}) {
        if (code >> shift != 0) m_bytes += static_cast<char>(code >> shift);
    }
}

bool XmlByteWriter::PutIso2022Jp(char32_t character) {
    if (character < 0x80) {
        Choose(ascii);
        m_bytes += static_cast<char>(character);
        return true;
    }
    const std::uint32_t code = m_characters->CodeOf(character);
    constexpr std::uint32_t firstPair = 0xA1A1;  // neither half-width letters nor the third set
    if (code < firstPair || code > 0xFFFF) return false;
    Choose('@');
    PutCode(code ^ highBits);
    return true;
}

void XmlByteWriter::Choose(char set) {
    if (m_set == set) return;
    m_bytes += set == ascii ? "\x1B(B" : "\x1B$B";
    m_set = set;
}

bool XmlByteWriter::PutGb18030(char32_t character) {
    std::uint32_t number = 189000 + character - 0x10000;
    if (character < 0x10000) {
        const auto* range =
            std::ranges::find_if(tables::gb18030Ranges, [&](const tables::Gb18030Range& each) {
                const auto* const next = &each + 1;
                const std::uint32_t end =
                    next != std::end(tables::gb18030Ranges) ? next->first : tables::gb18030SmallCodes;
                return each.character != 0 && character >= each.character &&
                       character - each.character < end - each.first;
            });
        if (range == std::end(tables::gb18030Ranges)) return false;
        number = range->first + character - range->character;
    }
    const std::uint32_t digits[] = {number / 12600 + 0x81, number / 1260 % 10 + '0', number / 10 % 126 + 0x81,
                                    number % 10 + '0'};
    for (const std::uint32_t digit : digits)
        m_bytes += static_cast<char>(digit);
    return true;
}

namespace {

/// Whether a character may be written as a number where it stands.
enum class Numbers { Allowed, Impossible };

class Encoder {
public:
    Encoder(std::string_view text, const XmlEncoding& encoding) : m_rest(text), m_writer(encoding) {}

    /// @return whether all characters could be written
    bool Encode() {
        while (!m_rest.empty() && m_isWritten) {
            Put(m_rest.find('<'), Numbers::Allowed);
            EncodeMarkup();
        }
        return m_isWritten;
    }
    std::string Take() { return m_writer.Take(); }

private:
    void EncodeMarkup() {
        struct Markup {
            std::string_view begin;
            std::string_view end;
        };
        static constexpr Markup markups[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
        for (const Markup& markup : markups) {
            if (m_rest.starts_with(markup.begin))
                return Put(EndBehind(markup.end, markup.begin.size()), Numbers::Impossible);
        }
        // It was read in this encoding; only default values of attributes can hold what was a number there.
        if (m_rest.starts_with("<!DOCTYPE")) return Put(EndOfDoctype(), Numbers::Allowed);
        EncodeTag();
    }

    void EncodeTag() {
        while (!m_rest.empty()) {
            Put(m_rest.find_first_of("\"'>"), Numbers::Impossible);
            if (m_rest.empty()) return;
            const char found = m_rest.front();
            Put(1, Numbers::Impossible);
            if (found == '>') return;
            Put(m_rest.find(found), Numbers::Allowed);
            Put(1, Numbers::Impossible);
        }
    }

    std::size_t EndBehind(std::string_view token, std::size_t from) const {
        const std::size_t found = m_rest.find(token, from);
        return found == std::string_view::npos ? m_rest.size() : found + token.size();
    }

    // Its declarations hold literals, comments and instructions, in which brackets mean nothing.
    std::size_t EndOfDoctype() const {
        std::size_t open = 0;
        for (std::size_t at = 0; at < m_rest.size();) {
            const std::string_view here = m_rest.substr(at);
            if (here.starts_with("<!--")) {
                at = EndBehind("-->", at + 4);
            } else if (here.starts_with("<?")) {
                at = EndBehind("?>", at);
            } else if (here.front() == '"' || here.front() == '\'') {
                at = EndBehind(here.substr(0, 1), at + 1);
            } else {
                ++at;
                open += here.front() == '<' ? 1 : 0;
                if (here.front() == '>' && --open == 0) return at;
            }
        }
        return m_rest.size();
    }

    void Put(std::size_t length, Numbers numbers) {
        std::string_view part = m_rest.substr(0, length);
        m_rest.remove_prefix(part.size());
        while (!part.empty()) {
            const char32_t character = TakeCharacter(part);
            if (m_writer.Put(character)) continue;
            if (numbers == Numbers::Impossible) m_isWritten = false;
            for (const char c : "&#" + std::to_string(static_cast<unsigned long>(character)) + ';')
                m_writer.Put(static_cast<unsigned char>(c));
        }
    }

    std::string_view m_rest;
    XmlByteWriter m_writer;
    bool m_isWritten = true;
};

bool IsAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

bool EncodeDocument(std::string_view& document, std::string& storage) {
    const XmlEncoding* const encoding = DeclaredEncoding(document);
    if (encoding == nullptr) return false;
    const bool isWide = IsUtf16(*encoding);
    if (encoding->scheme == XmlScheme::Utf8 || (!isWide && IsAscii(document))) return true;
    Encoder encoder(document, *encoding);
    if (!encoder.Encode()) return false;
    const bool hasMark = encoding->name == "utf-16";  // the other names of UTF-16 tell the order themselves
    storage = hasMark ? "\xFF\xFE" + encoder.Take() : encoder.Take();
    document = storage;
    return true;
}
