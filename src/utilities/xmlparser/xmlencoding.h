// XmlEncoding: the encodings of documents, by the names that declarations give them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/characterset.h"
#include "utilities/xmlparser/xmlcharacters.h"

/// How the bytes of an encoding make up characters.
enum class XmlScheme { Utf8, Utf16LittleEndian, Utf16BigEndian, Ascii, Tables, EucJp, Iso2022Jp, Gb18030 };

/// An encoding that documents may have. There is one object for each, which lives forever.
struct XmlEncoding {
    std::string_view name;  ///< the preferred one
    XmlScheme scheme;
    platform::CharacterSet set = {};  ///< of the schemes that need tables
    XmlCharacters::Exceptions exceptions = {};
};

/// An encoding by any of its names, in letters of either case.
/// @return null when there is none of that name, or the platform has no tables of it
const XmlEncoding* FindXmlEncoding(std::string_view name);

bool IsUtf16(const XmlEncoding& encoding);

/// Reads the characters of a text one after the other.
class XmlDecoder {
public:
    /// @param bytes  without a mark; must remain while the decoder lives
    XmlDecoder(const XmlEncoding& encoding, std::string_view bytes);

    /// Reads the next character; nothing when the bytes mean none, or are at an end.
    std::optional<char32_t> Take();
    /// Whether all bytes have been read.
    bool IsAtEnd() const { return m_position == m_bytes.size(); }
    /// The bytes that have been read.
    std::size_t GetPosition() const { return m_position; }

private:
    unsigned ByteAt(std::size_t i) const;
    std::optional<char32_t> TakeUtf16(std::size_t low);
    std::optional<char32_t> TakeFromTables();
    std::optional<char32_t> TakeFourBytes();
    std::optional<char32_t> TakeIso2022Jp();
    bool TakeEscapes();

    const XmlEncoding& m_encoding;
    const XmlCharacters* m_characters;
    std::string_view m_bytes;
    std::size_t m_position = 0;
    char m_set = 'B';  ///< of ISO-2022-JP, by the last byte of the sequence that chose it
};

/// Writes characters one after the other.
class XmlByteWriter {
public:
    explicit XmlByteWriter(const XmlEncoding& encoding);

    /// @return false when the encoding lacks the character
    bool Put(char32_t character);
    /// All that was written, UTF-16 without a mark.
    std::string Take();

private:
    void PutUtf16(char32_t character);
    void PutCode(std::uint32_t code);
    bool PutIso2022Jp(char32_t character);
    bool PutGb18030(char32_t character);
    void Choose(char set);

    const XmlEncoding& m_encoding;
    const XmlCharacters* m_characters;
    std::string m_bytes;
    char m_set = 'B';
};

/// Appends a character as UTF-8.
void AppendUtf8(std::string& text, char32_t character);

/// Brings a well-formed document from UTF-8 into the encoding that it declares. In texts and in the values of
/// attributes, characters that the encoding lacks become numbers; what is declared as "UTF-16" begins with a
/// mark.
/// @param document  the result, too
/// @param storage   receives the result's bytes when they differ
/// @return false when the encoding lacks a character elsewhere, or is not known
bool EncodeDocument(std::string_view& document, std::string& storage);
