// XmlText: the characters of a document or a DTD as UTF-8, with the way back to its bytes.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/xmlparser/xmlparseerror.h"

enum class XmlEncoding { Utf8, Utf16LittleEndian, Utf16BigEndian, Latin1, Ascii, Windows1252 };

/// Something wrong at an offset of a text.
struct XmlFault {
    std::size_t offset;
    LONG code;  ///< a code of XmlParseError
    const WChar* reason;
};

/// Decodes UTF-8, UTF-16 (by its mark, or by the "<" that the text begins with), and by their declarations
/// ISO-8859-1, US-ASCII and windows-1252. Refers to the bytes that it was made from.
class XmlText {
public:
    XmlText() = default;
    explicit XmlText(std::span<const BYTE> bytes);

    /// The characters, without a mark, as far as they could be decoded.
    std::string_view Get() const { return m_isConverted ? std::string_view(m_converted) : m_original; }
    /// The first byte that means nothing in the encoding, or the first character that no document may hold.
    const std::optional<XmlFault>& GetFault() const { return m_fault; }
    XmlEncoding GetEncoding() const { return m_encoding; }
    bool HasMark() const { return m_markLength > 0; }
    /// The encoding as the declaration names it; empty when it names none.
    const std::string& GetDeclaredEncoding() const { return m_declaredEncoding; }

    /// A fault with its line, its column and its place in the bytes.
    /// @param url  names the text
    XmlParseError Locate(const XmlFault& fault, const CXString& url) const;

private:
    void DetectEncoding(std::span<const BYTE> bytes);
    void Decode(std::span<const BYTE> bytes);
    void SettleDeclaredEncoding(XmlEncoding& encoding);
    std::size_t OriginalOffset(std::size_t offset) const;

    XmlEncoding m_encoding = XmlEncoding::Utf8;
    std::size_t m_markLength = 0;
    bool m_isConverted = false;
    std::string_view m_original;  ///< when the bytes are UTF-8
    std::string m_converted;      ///< when they are not
    std::string m_declaredEncoding;
    std::optional<XmlFault> m_fault;
};

/// The encoding that the declaration of a document names, of which the document itself makes no use yet;
/// UTF-8 when it names none, and nothing when it names one that is not known.
std::optional<XmlEncoding> DeclaredEncoding(std::string_view utf8);

/// Takes the first character of sound UTF-8 that is not empty.
char32_t TakeCharacter(std::string_view& utf8);
/// Appends a character in an encoding; UTF-16 without a mark.
/// @return false when the encoding lacks the character
bool AppendEncoded(std::string& bytes, char32_t character, XmlEncoding encoding);

/// The wide form of sound UTF-8.
CXString WideText(std::string_view utf8);
/// UTF-8 of a text; a lone surrogate becomes U+FFFD.
std::string Utf8Text(const CXString& text);
