// The check of documents.
#include "utilities/xmlparser/xmldocumentcheck.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "utilities/xmlparser/xmldeclarations.h"
#include "utilities/xmlparser/xmlinput.h"
#include "utilities/xmlparser/xmllimits.h"

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// By character: whether the name of an element or an attribute ends in front of it.
constexpr auto endsName = [] {
    std::array<bool, 256> table{};
    for (const char c : {' ', '\t', '\r', '\n', '>', '/', '='})
        table[static_cast<unsigned char>(c)] = true;
    return table;
}();

// Reasons, in the order of their limits.
constexpr XmlFault tooLarge = {0, nvutil::XmlParseError::limitExceeded,
                               NV_TEXT("The document is too large.")};
constexpr XmlFault tooDeep = {0, nvutil::XmlParseError::limitExceeded,
                              NV_TEXT("Elements are nested too deeply.")};
constexpr XmlFault tooManyAttributes = {0, nvutil::XmlParseError::limitExceeded,
                                        NV_TEXT("An element has too many attributes.")};
constexpr XmlFault tooManyNamespaces = {0, nvutil::XmlParseError::limitExceeded,
                                        NV_TEXT("Too many namespaces are in scope.")};
constexpr XmlFault entitiesTooDeep = {0, nvutil::XmlParseError::limitExceeded,
                                      NV_TEXT("References to entities are nested too deeply.")};
constexpr XmlFault expandsTooFar = {0, nvutil::XmlParseError::limitExceeded,
                                    NV_TEXT("Entities expand to more than is allowed.")};
constexpr XmlFault defaultsTooLarge = {0, nvutil::XmlParseError::limitExceeded,
                                       NV_TEXT("The DTD adds more attributes than is allowed.")};
constexpr XmlFault recursiveEntity = {0, nvutil::XmlParseError::malformed,
                                      NV_TEXT("An entity refers to itself.")};
constexpr XmlFault malformed = {0, nvutil::XmlParseError::malformed,
                                NV_TEXT("Invalid syntax in the document.")};
constexpr XmlFault unfinished = {0, nvutil::XmlParseError::malformed,
                                 NV_TEXT("Unexpected end of the document.")};
constexpr XmlFault foreignDtd = {0, nvutil::XmlParseError::accessRefused,
                                 NV_TEXT("The document's DTD must stand beside it.")};
constexpr XmlFault missingDtd = {0, nvutil::XmlParseError::accessRefused,
                                 NV_TEXT("The document's DTD cannot be read.")};

[[noreturn]] void Refuse(XmlFault fault, std::size_t offset) {
    fault.offset = offset;
    throw fault;
}

/// The external part of a DTD as a document names it.
struct DtdName {
    std::string systemLiteral;
    std::size_t offset = 0;
};

/// What all the content of a document shares.
struct Totals {
    XmlDeclarations declarations;
    std::size_t defaults = 0;  ///< Bytes of attributes that the DTD has added so far.
};

XmlMeasure MeasureEntity(Totals& totals, XmlEntity& entity, std::size_t entityDepth);

/// Measures content: that of the document, of an entity or of an attribute that the DTD adds.
class ContentScanner {
public:
    ContentScanner(Totals& totals, std::string_view text, std::size_t entityDepth)
        : m_totals(totals), m_text(text), m_entityDepth(entityDepth) {}
    virtual ~ContentScanner() = default;
    ContentScanner(const ContentScanner&) = delete;
    ContentScanner& operator=(const ContentScanner&) = delete;

    const XmlMeasure& Scan() {
        while (m_position < m_text.size()) {
            const std::size_t markup = std::min(m_text.find('<', m_position), m_text.size());
            ScanReferences(m_position, markup);
            m_position = markup;
            if (m_position < m_text.size()) ScanMarkup();
        }
        return m_measure;
    }

    /// The value of an attribute has references but no markup.
    const XmlMeasure& ScanValue() {
        ScanReferences(0, m_text.size());
        return m_measure;
    }

protected:
    bool IsAt(char c) const { return m_position < m_text.size() && m_text[m_position] == c; }
    bool IsAt(std::string_view token) const { return m_text.substr(m_position).starts_with(token); }
    void SkipBehind(std::string_view token) {
        const std::size_t found = m_text.find(token, m_position);
        if (found == std::string_view::npos) Refuse(unfinished, m_position);
        m_position = found + token.size();
    }
    void SkipBlanks() {
        while (m_position < m_text.size() && IsBlank(m_text[m_position]))
            ++m_position;
    }
    /// The character at hand; there must be one.
    char Peek() const {
        if (m_position == m_text.size()) Refuse(unfinished, m_position);
        return m_text[m_position];
    }

    /// Only a document has a DTD.
    virtual void ScanDoctype() { Refuse(malformed, m_position); }

    Totals& m_totals;
    std::string_view m_text;
    std::size_t m_position = 0;
    bool m_hasElements = false;

private:
    void ScanMarkup() {
        const char kind = m_position + 1 < m_text.size() ? m_text[m_position + 1] : '\0';
        if (kind == '/') {
            ScanEndTag();
        } else if (kind == '?') {
            SkipBehind("?>");
        } else if (kind != '!') {
            ScanStartTag();
        } else if (IsAt("<!--")) {
            m_position += 4;
            SkipBehind("-->");
        } else if (IsAt("<![CDATA[")) {
            SkipBehind("]]>");
        } else if (IsAt("<!DOCTYPE")) {
            ScanDoctype();
        } else {
            Refuse(malformed, m_position);
        }
    }

    void ScanEndTag() {
        const std::size_t end = m_text.find('>', m_position);
        if (end == std::string_view::npos) Refuse(unfinished, m_position);
        if (m_open == 0) Refuse(malformed, m_position);
        m_namespaces -= m_namespacesOf[--m_open];
        m_position = end + 1;
    }

    void ScanStartTag() {
        const std::size_t begin = m_position;
        m_hasElements = true;
        const std::string_view name = TakeName();
        std::size_t namespaces = 0;
        if (!IsAt('>')) namespaces = ScanAttributes(begin);
        if (!m_totals.declarations.defaults.empty()) namespaces += CountDefaults(name, begin);
        const bool isEmpty = IsAt('/');
        m_position += isEmpty ? 1 : 0;
        if (!IsAt('>')) Refuse(m_position < m_text.size() ? malformed : unfinished, m_position);
        ++m_position;
        Open(namespaces, begin);
        if (!isEmpty) return;
        m_namespaces -= m_namespacesOf[--m_open];
    }

    /// @return how many of them declare a namespace
    std::size_t ScanAttributes(std::size_t begin) {
        std::size_t attributes = 0;
        std::size_t namespaces = 0;
        for (SkipBlanks(); Peek() != '>' && Peek() != '/'; SkipBlanks()) {
            namespaces += ScanAttribute();
            if (++attributes > xmllimits::attributes) Refuse(tooManyAttributes, begin);
        }
        return namespaces;
    }

    void Open(std::size_t namespaces, std::size_t begin) {
        if (m_open == xmllimits::depth) Refuse(tooDeep, begin);
        m_namespacesOf[m_open++] = static_cast<unsigned short>(namespaces);
        m_namespaces += namespaces;
        if (m_namespaces > xmllimits::namespaces) Refuse(tooManyNamespaces, begin);
        m_measure.depth = std::max(m_measure.depth, m_open);
        m_measure.namespaces = std::max(m_measure.namespaces, m_namespaces);
    }

    std::string_view TakeName() {
        const std::size_t begin = m_position + 1;
        m_position = EndOfName(begin);
        return m_text.substr(begin, m_position - begin);
    }

    std::size_t EndOfName(std::size_t position) const {
        const std::string_view text = m_text;
        while (position < text.size() && !endsName[static_cast<unsigned char>(text[position])])
            ++position;
        return position;
    }

    /// @return 1 when the attribute declares a namespace, else 0
    std::size_t ScanAttribute() {
        const bool isNamespace = IsAt("xmlns");
        m_position = EndOfName(m_position);
        SkipBlanks();
        if (Peek() != '=') Refuse(malformed, m_position);
        ++m_position;
        SkipBlanks();
        const char quote = Peek();
        if (quote != '"' && quote != '\'') Refuse(malformed, m_position);
        const std::size_t begin = m_position + 1;
        const std::size_t end = m_text.find(quote, begin);
        if (end == std::string_view::npos) Refuse(unfinished, m_position);
        ScanReferences(begin, end);
        m_position = end + 1;
        return isNamespace ? 1 : 0;
    }

    /// Counts the attributes that the DTD adds to an element.
    /// @return how many of them declare a namespace
    std::size_t CountDefaults(std::string_view name, std::size_t offset) {
        const auto found = m_totals.declarations.defaults.find(name);
        if (found == m_totals.declarations.defaults.end()) return 0;
        m_totals.defaults += found->second.bytes;
        if (m_totals.defaults > xmllimits::defaults) Refuse(defaultsTooLarge, offset);
        return found->second.namespaces;
    }

    void ScanReferences(std::size_t begin, std::size_t end) {
        if (m_totals.declarations.entities.empty()) return;  // none that could stand for much
        const char* const text = m_text.data();
        while (begin < end) {
            const void* const found = std::memchr(text + begin, '&', end - begin);
            if (found == nullptr) return;
            const auto at = static_cast<std::size_t>(static_cast<const char*>(found) - text);
            const std::size_t semicolon = m_text.substr(0, end).find(';', at);
            if (semicolon == std::string_view::npos) Refuse(malformed, at);
            CountReference(m_text.substr(at + 1, semicolon - at - 1), at);
            begin = semicolon + 1;
        }
    }

    void CountReference(std::string_view name, std::size_t offset) {
        const auto found = m_totals.declarations.entities.find(name);
        if (found == m_totals.declarations.entities.end()) return;  // predefined, or the engine's to report
        XmlEntity& entity = found->second;
        if (entity.state == XmlEntity::State::BeingMeasured) Refuse(recursiveEntity, offset);
        if (m_entityDepth + 1 > xmllimits::entityDepth) Refuse(entitiesTooDeep, offset);
        const XmlMeasure measure = MeasureAt(entity, offset);

        m_measure.expansion += entity.text.size() + measure.expansion;
        m_measure.depth = std::max(m_measure.depth, m_open + measure.depth);
        m_measure.namespaces = std::max(m_measure.namespaces, m_namespaces + measure.namespaces);
        m_measure.entityDepth = std::max(m_measure.entityDepth, 1 + measure.entityDepth);
        if (m_measure.expansion > xmllimits::expansion) Refuse(expandsTooFar, offset);
        if (m_measure.depth > xmllimits::depth) Refuse(tooDeep, offset);
        if (m_measure.namespaces > xmllimits::namespaces) Refuse(tooManyNamespaces, offset);
        if (m_entityDepth + m_measure.entityDepth > xmllimits::entityDepth) Refuse(entitiesTooDeep, offset);
    }

    /// A fault inside of an entity is reported at the reference to it.
    XmlMeasure MeasureAt(XmlEntity& entity, std::size_t offset) {
        try {
            return MeasureEntity(m_totals, entity, m_entityDepth + 1);
        } catch (const XmlFault& fault) {
            Refuse(fault, offset);
        }
    }

    std::size_t m_entityDepth;
    XmlMeasure m_measure;
    std::size_t m_open = 0;
    std::size_t m_namespaces = 0;                                   ///< Declarations in scope.
    std::array<unsigned short, xmllimits::depth> m_namespacesOf{};  ///< By open element.
};

XmlMeasure MeasureEntity(Totals& totals, XmlEntity& entity, std::size_t entityDepth) {
    if (entity.state == XmlEntity::State::Unmeasured) {
        entity.state = XmlEntity::State::BeingMeasured;
        entity.measure = ContentScanner(totals, entity.text, entityDepth).Scan();
        entity.state = XmlEntity::State::Measured;
    }
    return entity.measure;
}

/// Measures the document itself, and reads its DTD on the way.
class DocumentScanner final : public ContentScanner {
public:
    DocumentScanner(Totals& totals, const CXString& systemId, bool validate,
                    nvutil::CheckedDocument& document)
        : ContentScanner(totals, document.text.Get(), 0),
          m_systemId(systemId),
          m_validate(validate),
          m_document(document) {}

private:
    void ScanDoctype() override {
        if (m_hasElements || m_hasDoctype) Refuse(malformed, m_position);
        m_hasDoctype = true;
        m_position += std::string_view("<!DOCTYPE").size();
        SkipBlanks();
        m_position = std::min(m_text.find_first_of(" \t\r\n[>", m_position), m_text.size());
        const DtdName name = TakeExternalName();
        SkipBlanks();
        if (Peek() == '[') {
            m_position = m_totals.declarations.ReadInternal(m_text, m_position + 1) + 1;
            SkipBlanks();
        }
        if (Peek() != '>') Refuse(malformed, m_position);
        ++m_position;
        if (m_validate && !name.systemLiteral.empty()) ReadDtd(name);
        MeasureDefaults();
    }

    DtdName TakeExternalName() {
        SkipBlanks();
        const bool isPublic = IsAt("PUBLIC");
        if (!isPublic && !IsAt("SYSTEM")) return {};
        m_position += 6;
        if (isPublic) TakeLiteral();
        SkipBlanks();
        const std::size_t offset = m_position;
        return {TakeLiteral(), offset};
    }

    std::string TakeLiteral() {
        SkipBlanks();
        const char quote = Peek();
        if (quote != '"' && quote != '\'') Refuse(malformed, m_position);
        const std::size_t end = m_text.find(quote, m_position + 1);
        if (end == std::string_view::npos) Refuse(unfinished, m_position);
        std::string literal(m_text.substr(m_position + 1, end - m_position - 1));
        m_position = end + 1;
        return literal;
    }

    /// A name with a folder, a scheme or anything that an engine could take for one is not beside the
    /// document.
    void ReadDtd(const DtdName& name) {
        if (name.systemLiteral.find_first_of("/\\:%#?*\"<>|\t\r\n") != std::string::npos ||
            name.systemLiteral == "..") {
            Refuse(foreignDtd, name.offset);
        }
        m_document.dtdPath = FolderOf(m_systemId) + WideText(name.systemLiteral);
        if (!ReadRegularFile(m_document.dtdPath, m_document.dtdBytes)) Refuse(missingDtd, name.offset);
        m_document.hasExternalDtd = true;
        if (m_document.dtdBytes.size() > xmllimits::documentBytes) Refuse(tooLarge, name.offset);
        m_document.dtd = XmlText(m_document.dtdBytes);
        try {
            if (m_document.dtd.GetFault()) throw *m_document.dtd.GetFault();
            m_totals.declarations.ReadExternal(m_document.dtd.Get());
        } catch (const XmlFault& fault) {
            throw m_document.dtd.Locate(fault, m_document.dtdPath);
        }
    }

    void MeasureDefaults() {
        for (auto& [name, defaults] : m_totals.declarations.defaults) {
            for (const std::string& value : defaults.values) {
                defaults.bytes += value.size() + xmllimits::defaultAttribute +
                                  ContentScanner(m_totals, value, 0).ScanValue().expansion;
            }
        }
    }

    const CXString& m_systemId;
    bool m_validate;
    nvutil::CheckedDocument& m_document;
    bool m_hasDoctype = false;
};

}  // namespace

std::optional<nvutil::XmlParseError> CheckDocument(std::span<const BYTE> bytes, const CXString& systemId,
                                                   bool validate, nvutil::CheckedDocument& document) {
    const bool isTooLarge = bytes.size() > xmllimits::documentBytes;
    if (!isTooLarge) document.text = XmlText(bytes);
    try {
        if (isTooLarge) throw tooLarge;
        if (document.text.GetFault()) throw *document.text.GetFault();
        Totals totals;
        DocumentScanner(totals, systemId, validate, document).Scan();
    } catch (const XmlFault& fault) {
        return document.text.Locate(fault, systemId);
    } catch (const nvutil::XmlParseError& error) {
        return error;
    }
    return {};
}
