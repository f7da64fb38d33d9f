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

/// Decodes UTF-8, UTF-16 (by its mark, or by a declaration that begins the text), and by their declarations
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

/// Whether what was written as a document can be read as one: no character is missing or forbidden.
inline bool IsReadable(std::span<const BYTE> document) {
    return !XmlText(document).GetFault();
}

/// The wide form of sound UTF-8.
CXString WideText(std::string_view utf8);
/// UTF-8 of a text; a lone surrogate becomes U+FFFD.
std::string Utf8Text(const CXString& text);
