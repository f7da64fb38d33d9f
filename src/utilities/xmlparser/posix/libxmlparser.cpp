// LibXmlParser: reading and writing with libxml2.
#include "utilities/xmlparser/libxmlparser.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlIO.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "platform/fork.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"
#include "utilities/xmlparser/posix/libxmltree.h"
#include "utilities/xmlparser/xmldocumentcheck.h"
#include "utilities/xmlparser/xmlencoding.h"
#include "utilities/xmlparser/xmlfailure.h"
#include "utilities/xmlparser/xmlinput.h"
#include "utilities/xmlparser/xmlparseerror.h"

namespace {

/// What reading gave: a tree, or the error that there is none for.
struct LibXmlReading {
    std::shared_ptr<LibXmlTree> tree;
    nvutil::XmlParseError error;
};

/// The error that a document is refused for, as it is kept while the engine is still reading.
struct FirstError {
    int code = 0;
    std::size_t offset = 0;
    bool isInDtd = false;
    char reason[256] = {};
};

/// What the engine's callbacks work on.
class Reader {
public:
    Reader(const nvutil::CheckedDocument& document, bool validate);
    ~Reader() {
        xmlFreeDoc(m_context->myDoc);
        xmlFreeParserCtxt(m_context);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// @return whether the document is well-formed, and valid where it must be
    bool Read();
    xmlDoc* TakeDocument();
    nvutil::XmlParseError GetError(const CXString& systemId) const;

private:
    static Reader& Of(void* context) {
        return *static_cast<Reader*>(static_cast<xmlParserCtxt*>(context)->_private);
    }
    static void OnError(void* context, xmlError* error);
    static void OnClosingError(void* context, const char* format, ...);
    static void OnClosingWarning(void* /*context*/, const char* /*format*/, ...) {}
    static xmlParserInput* OnExternalDtd(void* context, const xmlChar* publicId, const xmlChar* systemId);
    static void OnEntity(void* context, const xmlChar* name, int type, const xmlChar* publicId,
                         const xmlChar* systemId, xmlChar* content);
    static void OnCharacters(void* context, const xmlChar* characters, int length);
    static void OnEndElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri);

    void Keep(FirstError& kept, const xmlError& error) const;
    void RecordDeclaration();

    const nvutil::CheckedDocument& m_document;
    bool m_validate;
    xmlParserCtxt* m_context;
    xmlParserInput* m_dtdInput = nullptr;  ///< Valid while the engine is reading the DTD's own file.
    std::size_t m_dtdBegin = 0;            ///< What of that file is not handed to the engine.
    bool m_hasNoDtd = false;
    bool m_mayHoldBlanks = false;  ///< A text was kept that began with white space.
    FirstError m_fatal;
    FirstError m_other;
    char m_closingErrors[256] = {};  ///< What the checks of the whole document say, piece by piece.
};

bool IsBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

bool IsBlankText(const xmlNode* node) {
    return node->type == XML_TEXT_NODE &&
           (node->content == nullptr || IsBlank(reinterpret_cast<const char*>(node->content)));
}

bool KeepsSpace(const xmlParserCtxt& parser) {
    return parser.space != nullptr && *parser.space == 1;
}

bool IsEngineStarted() {
    static const bool isStarted = (xmlInitParser(), true);  // once, whichever threads come first
    return isStarted;
}

[[maybe_unused]] const bool isMadeBeforeForks = platform::MakeBeforeForks([] { IsEngineStarted(); });

xmlParserCtxt* NewContext() {
    return IsEngineStarted() ? xmlNewParserCtxt() : nullptr;
}

Reader::Reader(const nvutil::CheckedDocument& document, bool validate)
    : m_document(document), m_validate(validate), m_context(NewContext()) {
    if (m_context == nullptr) xmlfailure::ThrowOutOfMemoryWhileReading();
    m_context->_private = this;
    xmlSAXHandler& handler = *m_context->sax;
    handler.serror = &Reader::OnError;
    handler.resolveEntity = &Reader::OnExternalDtd;
    handler.entityDecl = &Reader::OnEntity;
    handler.characters = &Reader::OnCharacters;
    handler.ignorableWhitespace = &Reader::OnCharacters;
    handler.endElementNs = &Reader::OnEndElement;
    m_context->vctxt.error = &Reader::OnClosingError;
    m_context->vctxt.warning = &Reader::OnClosingWarning;
}

bool Reader::Read() {
    // The text is UTF-8 whatever its declaration says, and the attributes that a DTD adds are part of it.
    const int options = XML_PARSE_NONET | XML_PARSE_DTDATTR | XML_PARSE_COMPACT | XML_PARSE_IGNORE_ENC |
                        (m_validate ? XML_PARSE_DTDVALID : 0);
    const std::string_view text = m_document.text.Get();
    m_context->myDoc =
        xmlCtxtReadMemory(m_context, text.data(), static_cast<int>(text.size()), nullptr, nullptr, options);
    if (m_fatal.code == XML_ERR_NO_MEMORY || m_other.code == XML_ERR_NO_MEMORY)
        xmlfailure::ThrowOutOfMemoryWhileReading();
    return m_context->myDoc != nullptr && m_context->nsWellFormed != 0 &&
           (!m_validate || m_hasNoDtd || m_context->valid != 0);
}

xmlDoc* Reader::TakeDocument() {
    RecordDeclaration();
    xmlDoc* const document = m_context->myDoc;
    m_context->myDoc = nullptr;
    return document;
}

// The engine was told to overlook the encoding, but writing needs it.
void Reader::RecordDeclaration() {
    const std::string& encoding = m_document.text.GetDeclaredEncoding();
    if (encoding.empty()) return;
    m_context->myDoc->encoding = xmlStrdup(reinterpret_cast<const xmlChar*>(encoding.c_str()));
    if (m_context->myDoc->encoding == nullptr) xmlfailure::ThrowOutOfMemoryWhileReading();
}

void Reader::OnError(void* context, xmlError* error) {
    Reader& reader = Of(context);
    const bool hasDoctype =
        reader.m_context->myDoc != nullptr && reader.m_context->myDoc->intSubset != nullptr;
    if (error->code == XML_DTD_NO_DTD && !hasDoctype) {
        reader.m_hasNoDtd = true;
    } else if (error->level == XML_ERR_FATAL) {
        reader.Keep(reader.m_fatal, *error);
    } else if (error->level == XML_ERR_ERROR) {
        reader.Keep(reader.m_other, *error);
    }
}

// Checks of the whole document, such as that of references, have no place and report by this other way.
void Reader::OnClosingError(void* context, const char* format, ...) {
    Reader& reader = Of(context);
    const std::size_t length = std::strlen(reader.m_closingErrors);
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(reader.m_closingErrors + length, sizeof reader.m_closingErrors - length, format,
                   arguments);
    va_end(arguments);
}

void Reader::Keep(FirstError& kept, const xmlError& error) const {
    if (kept.code != 0) return;
    kept.code = error.code;
    const std::string_view reason = error.message != nullptr ? error.message : "";
    const std::size_t length = std::min(reason.find_last_not_of("\r\n ") + 1, sizeof kept.reason - 1);
    std::memcpy(kept.reason, reason.data(), length);

    // The texts of entities have no place of their own; what counts is where they are referred to.
    constexpr int readingExternalDtd = 2;
    kept.isInDtd = m_context->inSubset == readingExternalDtd && m_dtdInput != nullptr;
    int level = m_context->inputNr - 1;
    while (level > 0 && !(kept.isInDtd && m_context->inputTab[level] == m_dtdInput))
        --level;
    if (level < 0) return;
    const xmlParserInput& input = *m_context->inputTab[level];
    kept.offset =
        input.consumed + static_cast<std::size_t>(input.cur - input.base) + (kept.isInDtd ? m_dtdBegin : 0);
}

// Only the DTD that the check has read is ever handed over, and nothing is fetched.
xmlParserInput* Reader::OnExternalDtd(void* context, const xmlChar* /*publicId*/,
                                      const xmlChar* /*systemId*/) {
    Reader& reader = Of(context);
    if (!reader.m_document.hasExternalDtd || reader.m_dtdInput != nullptr) return nullptr;
    std::string_view text = reader.m_document.dtd.Get();
    // The text is UTF-8 by now, whatever a declaration in front of it says.
    constexpr std::string_view declaration = "<?xml";
    if (text.starts_with(declaration)) reader.m_dtdBegin = std::min(text.find("?>"), text.size() - 2) + 2;
    text.remove_prefix(reader.m_dtdBegin);
    xmlParserInputBuffer* const buffer =
        xmlParserInputBufferCreateMem(text.data(), static_cast<int>(text.size()), XML_CHAR_ENCODING_NONE);
    if (buffer == nullptr) return nullptr;
    reader.m_dtdInput = xmlNewIOInputStream(reader.m_context, buffer, XML_CHAR_ENCODING_NONE);
    return reader.m_dtdInput;
}

// The check has refused documents that declare such entities; the engine shall not know them in any case.
void Reader::OnEntity(void* context, const xmlChar* name, int type, const xmlChar* publicId,
                      const xmlChar* systemId, xmlChar* content) {
    const bool isForeign =
        type == XML_EXTERNAL_GENERAL_PARSED_ENTITY || type == XML_EXTERNAL_PARAMETER_ENTITY;
    if (!isForeign) xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
}

// A run of white space from one tag to the next is dropped at once; what may yet become part of a text is
// looked at when its element ends.
void Reader::OnCharacters(void* context, const xmlChar* characters, int length) {
    auto* const parser = static_cast<xmlParserCtxt*>(context);
    const std::string_view text(reinterpret_cast<const char*>(characters), static_cast<std::size_t>(length));
    if (parser->node != nullptr && !KeepsSpace(*parser) && IsBlank(text)) {
        const xmlNode* const last = parser->node->last;
        const bool isWhole = *parser->input->cur == '<' && (last == nullptr || last->type != XML_TEXT_NODE);
        if (isWhole) return;
        Of(context).m_mayHoldBlanks = true;
    }
    xmlSAX2Characters(context, characters, length);
}

void Reader::OnEndElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri) {
    auto* const parser = static_cast<xmlParserCtxt*>(context);
    const bool mayHoldBlanks = Of(context).m_mayHoldBlanks && parser->node != nullptr && !KeepsSpace(*parser);
    xmlNode* next = mayHoldBlanks ? parser->node->children : nullptr;
    while (next != nullptr) {
        xmlNode* const node = next;
        next = node->next;
        if (!IsBlankText(node)) continue;
        xmlUnlinkNode(node);
        xmlFreeNode(node);
    }
    xmlSAX2EndElementNs(context, name, prefix, uri);
}

nvutil::XmlParseError Reader::GetError(const CXString& systemId) const {
    FirstError first = m_fatal.code != 0 ? m_fatal : m_other;
    const bool isClosing = first.code == 0;
    if (isClosing) first.offset = m_document.text.Get().size();
    std::string_view text = isClosing ? m_closingErrors : first.reason;
    text = text.substr(0, text.find('\n'));
    const CXString reason = WideText(text);
    const XmlText& where = first.isInDtd ? m_document.dtd : m_document.text;
    return where.Locate({first.offset, isClosing ? nvutil::XmlParseError::malformed : first.code, reason},
                        first.isInDtd ? m_document.dtdPath : systemId);
}

/// Reads a document; texts of nothing but white space are left out unless "xml:space" keeps them.
/// @param systemId  names the document in errors
/// @param validate  whether a document with a DTD must be valid
/// @throws ExceptionOutOfMemory
LibXmlReading ReadWithLibXml(const nvutil::CheckedDocument& document, const CXString& systemId,
                             bool validate) {
    Reader reader(document, validate);
    LibXmlReading reading;
    if (reader.Read()) {
        reading.tree = std::make_shared<LibXmlTree>(reader.TakeDocument());
    } else {
        reading.error = reader.GetError(systemId);
    }
    return reading;
}

constexpr auto utf8 = "UTF-8";

/// What libxml2 keeps for a document that had no declaration.
constexpr int withoutDeclaration = -1;

struct CloseOutput {
    void operator()(xmlOutputBuffer* output) const { xmlOutputBufferClose(output); }
};
using Output = std::unique_ptr<xmlOutputBuffer, CloseOutput>;

std::string Declaration(const xmlDoc& document) {
    if (document.standalone == withoutDeclaration || document.children == nullptr) return {};
    const auto attribute = [](const char* name, const xmlChar* value) {
        return std::string(name) + "=\"" + reinterpret_cast<const char*>(value) + '"';
    };
    std::string text = "<?xml " + attribute("version", document.version);
    if (document.encoding != nullptr) text += attribute(" encoding", document.encoding);
    if (document.standalone >= 0)
        text += document.standalone == 1 ? " standalone=\"yes\"" : " standalone=\"no\"";
    return text + "?>\n";
}

/// Names the encoding of a document for as long as the object lives: without one, characters that are not
/// ASCII would be written as numbers.
class NamedEncoding {
public:
    NamedEncoding(xmlDoc& document, const char* encoding) : m_document(document), m_saved(document.encoding) {
        document.encoding = reinterpret_cast<const xmlChar*>(encoding);
    }
    ~NamedEncoding() { m_document.encoding = m_saved; }
    NamedEncoding(const NamedEncoding&) = delete;
    NamedEncoding& operator=(const NamedEncoding&) = delete;

private:
    xmlDoc& m_document;
    const xmlChar* m_saved;
};

/// The document as UTF-8; null when the engine failed.
Output WriteAsUtf8(xmlDoc& document) {
    Output output(xmlAllocOutputBuffer(nullptr));
    if (output == nullptr) xmlfailure::ThrowOutOfMemoryWhileWriting();
    xmlOutputBufferWriteString(output.get(), Declaration(document).c_str());
    const NamedEncoding named(document, utf8);
    for (xmlNode* node = document.children; node != nullptr; node = node->next) {
        xmlNodeDumpOutput(output.get(), &document, node, 0, 0, utf8);
        xmlOutputBufferWriteString(output.get(), "\n");
    }
    if (xmlOutputBufferFlush(output.get()) < 0 || output->error != XML_ERR_OK) return {};
    return output;
}

std::string_view TextOf(const xmlOutputBuffer& output) {
    return {reinterpret_cast<const char*>(xmlBufContent(output.buffer)), xmlBufUse(output.buffer)};
}

std::span<const BYTE> BytesOf(std::string_view text) {
    return {reinterpret_cast<const BYTE*>(text.data()), text.size()};
}

}  // namespace

LibXmlParser::LibXmlParser(const CXString& documentPath, bool mustBeValid)
    : NorvaXmlParser(documentPath, mustBeValid), m_content(std::make_shared<LibXmlContent>()) {
    m_content->tree = std::make_shared<LibXmlTree>();
    UtilitiesDllPerThreadStorage::Prepare();  // which keeps memory for the wrappers to come
}

LibXmlParser::~LibXmlParser() = default;

bool LibXmlParser::parse(const CXString& fileName) {
    ByteBuffer bytes;
    if (!ReadDocumentFile(fileName, bytes)) return false;
    parse(bytes.getLpbyte(), bytes.getDword());
    return true;
}

void LibXmlParser::parse(unsigned char* data, DWORD length) {
    if (data == nullptr || length == 0) return;
    nvutil::CheckedDocument document;
    LibXmlReading reading;
    if (const auto refusal = CheckDocument({data, length}, systemId, validate, document)) {
        reading.error = *refusal;
    } else {
        reading = ReadWithLibXml(document, systemId, validate);
    }
    const bool isRefused = reading.tree == nullptr;
    m_content->tree = isRefused ? std::make_shared<LibXmlTree>() : std::move(reading.tree);
    m_content->error = reading.error;
    if (isRefused) xmlfailure::ThrowRefused();
}

void LibXmlParser::convertToXmlStream(XmlOutputCallback& callback) {
    const Output output = WriteAsUtf8(*m_content->tree->GetDocument());
    if (output == nullptr) xmlfailure::ThrowNotWritten();
    std::string storage;
    std::string_view bytes = TextOf(*output);
    nvutil::CheckedDocument written;
    if (!EncodeDocument(bytes, storage) || CheckDocument(BytesOf(bytes), systemId, false, written) ||
        !m_content->tree->HasItsPrefixes()) {
        xmlfailure::ThrowNotWritten();
    }
    callback.handleOutput(BytesOf(bytes).data(), static_cast<std::uint32_t>(bytes.size()));
}

std::unique_ptr<XmlDomDocument> LibXmlParser::getDocument() {
    return std::make_unique<LibXmlDomDocument>(m_content);
}

CXString LibXmlParser::formatCOMExceptionDisplayString(const _com_error& error) {
    return FormatComError(error);
}
