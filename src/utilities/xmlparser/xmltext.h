// XmlText: the characters of a document or a DTD as UTF-8, with the way back to its bytes.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/xmlparser/xmlencoding.h"
#include "utilities/xmlparser/xmlparseerror.h"

/// Something wrong at an offset of a text.
struct XmlFault {
    std::size_t offset;
    LONG code;  ///< a code of XmlParseError
    const WChar* reason;
};

/// Decodes UTF-8, UTF-16 (by its mark, or by the "<" that the text begins with), and by their declarations
/// the encodings of xmlencoding.h. Refers to the bytes that it was made from.
class XmlText {
public:
    XmlText() : XmlText(std::span<const BYTE>()) {}
    explicit XmlText(std::span<const BYTE> bytes);

    /// The characters, without a mark, as far as they could be decoded.
    std::string_view Get() const { return m_isConverted ? std::string_view(m_converted) : m_original; }
    /// The first byte that means nothing in the encoding, or the first character that no document may hold.
    const std::optional<XmlFault>& GetFault() const { return m_fault; }
    /// Whether the bytes were not UTF-8.
    bool IsConverted() const { return m_isConverted; }
    /// The encoding as the declaration names it; empty when it names none.
    const std::string& GetDeclaredEncoding() const { return m_declaredEncoding; }

    /// A fault with its line, its column and its place in the bytes.
    /// @param url  names the text
    nvutil::XmlParseError Locate(const XmlFault& fault, const CXString& url) const;

private:
    void DetectEncoding(std::span<const BYTE> bytes);
    void Decode();
    void SettleDeclaredEncoding();
    std::size_t OriginalOffset(std::size_t offset) const;

    const XmlEncoding* m_encoding;
    std::size_t m_markLength = 0;
    bool m_isConverted = false;
    std::string_view m_original;  ///< the bytes behind the mark
    std::string m_converted;      ///< when they are not UTF-8
    std::string m_declaredEncoding;
    std::optional<XmlFault> m_fault;
};

/// The encoding that the declaration of a document names, of which the document itself makes no use yet;
/// UTF-8 when it names none, and null when it names one that is not known.
const XmlEncoding* DeclaredEncoding(std::string_view utf8);

/// The name of the encoding in the declaration that a text begins with, which is part of the text; empty when
/// there is none.
std::string_view DeclaredEncodingOf(std::string_view text);

/// Takes the first character of sound UTF-8 that is not empty.
char32_t TakeCharacter(std::string_view& utf8);

/// The wide form of sound UTF-8.
CXString WideText(std::string_view utf8);
/// UTF-8 of a text; a lone surrogate becomes U+FFFD.
std::string Utf8Text(const CXString& text);

/// Whether a text is a name of XML 1.0, with or without a prefix.
bool IsXmlName(const CXString& name);

/// Whether an attribute can have this name and, where it declares a namespace, this value.
bool IsXmlAttribute(const CXString& name, const CXString& value);
