// LibXmlParser over libxml2.
#include "utilities/xmlparser/libxmlparser.h"

#include <libxml/xmlsave.h>

#include <new>
#include <span>
#include <string>

#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/xmlparser/comerrortext.h"
#include "utilities/xmlparser/libxmlreader.h"
#include "utilities/xmlparser/libxmltree.h"
#include "utilities/xmlparser/npifparseexception.h"
#include "utilities/xmlparser/xmldocumentcheck.h"
#include "utilities/xmlparser/xmlinput.h"

namespace {

constexpr auto writing = "LibXmlParser::convertToXmlStream";

/// What libxml2 keeps for a document that had no declaration.
constexpr int withoutDeclaration = -1;

struct FreeBuffer {
    void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
};
using OutputBuffer = std::unique_ptr<xmlBuffer, FreeBuffer>;

[[noreturn]] void ThrowOutOfMemory(const char* function, int line) {
    NV_THROW(ExceptionOutOfMemory, function, line);
}

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

/// Appends the content of a document in an encoding, or in UTF-8.
bool AppendContent(xmlDoc& document, const char* encoding, xmlBuffer& buffer) {
    xmlSaveCtxt* const writer = xmlSaveToBuffer(&buffer, encoding, XML_SAVE_NO_DECL);
    if (writer == nullptr) return false;
    const bool isWritten = document.children == nullptr || xmlSaveDoc(writer, &document) >= 0;
    return xmlSaveClose(writer) >= 0 && isWritten;
}

}  // namespace

LibXmlParser::LibXmlParser(const CXString& documentPath, bool mustBeValid)
    : NorvaXmlParser(documentPath, mustBeValid), m_tree(std::make_shared<LibXmlTree>()) {}

LibXmlParser::~LibXmlParser() = default;

bool LibXmlParser::parse(const CXString& fileName) {
    ByteBuffer bytes;
    if (!ReadDocumentFile(fileName, bytes)) return false;
    parse(bytes.getLpbyte(), bytes.getDword());
    return true;
}

void LibXmlParser::parse(unsigned char* data, DWORD length) {
    if (data == nullptr || length == 0) return;
    CheckedDocument document;
    LibXmlReading reading;
    if (const auto refusal = CheckDocument({data, length}, systemId, validate, document)) {
        reading.error = *refusal;
    } else {
        reading = ReadWithLibXml(document, systemId, validate);
    }
    const bool isRefused = reading.tree == nullptr;
    m_tree = isRefused ? std::make_shared<LibXmlTree>() : std::move(reading.tree);
    m_parseError = reading.error;
    if (isRefused) NV_THROW_NPIFPARSE(NpifParseException::ErrorReportedDuringParse, "LibXmlParser::parse");
}

void LibXmlParser::convertToXmlStream(XmlOutputCallback& callback) {
    xmlDoc& document = *m_tree->GetDocument();
    const char* const encoding =
        document.encoding != nullptr ? reinterpret_cast<const char*>(document.encoding) : "UTF-8";
    const OutputBuffer buffer(xmlBufferCreate());
    if (buffer == nullptr) ThrowOutOfMemory(writing, __LINE__);
    const std::string declaration = Declaration(document);
    const auto* const declarationText = reinterpret_cast<const xmlChar*>(declaration.c_str());
    const bool isWritten =
        xmlBufferCat(buffer.get(), declarationText) == 0 && AppendContent(document, encoding, *buffer);
    const std::span<const BYTE> bytes(xmlBufferContent(buffer.get()),
                                      static_cast<std::size_t>(xmlBufferLength(buffer.get())));
    if (!isWritten || !IsReadable(bytes))
        NV_THROW_NPIFPARSE(NpifParseException::XmlExceptionRaisedDuringXmlGeneration, writing);
    callback.handleOutput(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

std::unique_ptr<XmlDomDocument> LibXmlParser::getDocument() {
    return std::make_unique<LibXmlDomDocument>(m_tree, m_parseError);
}

CXString LibXmlParser::formatCOMExceptionDisplayString(const _com_error& error) {
    return FormatComError(error);
}
