// The encodings of written documents.
#include "utilities/xmlparser/xmlencoder.h"

#include <algorithm>

#include "utilities/xmlparser/xmltext.h"

namespace {

/// Whether a character may be written as a number where it stands.
enum class Numbers { Allowed, Impossible };

class Encoder {
public:
    Encoder(std::string_view text, XmlEncoding encoding) : m_rest(text), m_encoding(encoding) {}

    /// @return whether all characters could be written
    bool Encode() {
        while (!m_rest.empty() && m_isWritten) {
            Put(m_rest.find('<'), Numbers::Allowed);
            EncodeMarkup();
        }
        return m_isWritten;
    }
    std::string Take() { return std::move(m_bytes); }

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
            if (AppendEncoded(m_bytes, character, m_encoding)) continue;
            if (numbers == Numbers::Impossible) m_isWritten = false;
            m_bytes += "&#" + std::to_string(static_cast<unsigned long>(character)) + ';';
        }
    }

    std::string_view m_rest;
    XmlEncoding m_encoding;
    std::string m_bytes;
    bool m_isWritten = true;
};

bool IsAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

std::optional<std::string_view> EncodeDocument(std::string_view utf8, std::string& storage) {
    const std::optional<XmlEncoding> encoding = DeclaredEncoding(utf8);
    if (!encoding) return {};
    const bool isWide = *encoding == XmlEncoding::Utf16LittleEndian;
    if (*encoding == XmlEncoding::Utf8 || (!isWide && IsAscii(utf8))) return utf8;
    Encoder encoder(utf8, *encoding);
    if (!encoder.Encode()) return {};
    storage = isWide ? "\xFF\xFE" + encoder.Take() : encoder.Take();
    return storage;
}
