// The encodings of written documents.
#include "utilities/xmlparser/xmlencoder.h"

#include <algorithm>

#include "utilities/xmlparser/xmlencoding.h"
#include "utilities/xmlparser/xmltext.h"

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
