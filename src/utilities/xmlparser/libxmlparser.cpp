// LibXmlParser over libxml2.
#include "utilities/xmlparser/libxmlparser.h"

#include <libxml/tree.h>
#include <libxml/xmlIO.h>

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

struct CloseOutput {
    void operator()(xmlOutputBuffer* output) const { xmlOutputBufferClose(output); }
};
using Output = std::unique_ptr<xmlOutputBuffer, CloseOutput>;

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

/// What is written there is UTF-8, and comes out in the encoding.
Output CreateOutput(const char* encoding) {
    const bool isUtf8 = xmlParseCharEncoding(encoding) == XML_CHAR_ENCODING_UTF8;
    Output output(xmlAllocOutputBuffer(isUtf8 ? nullptr : xmlFindCharEncodingHandler(encoding)));
    if (output == nullptr) ThrowOutOfMemory(writing, __LINE__);
    return output;
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

/// @return false when the engine failed
bool WriteTo(xmlOutputBuffer& output, xmlDoc& document, const char* encoding) {
    xmlOutputBufferWriteString(&output, Declaration(document).c_str());
    const NamedEncoding named(document, encoding);
    for (xmlNode* node = document.children; node != nullptr; node = node->next) {
        xmlNodeDumpOutput(&output, &document, node, 0, 0, encoding);
        xmlOutputBufferWriteString(&output, "\n");
    }
    return xmlOutputBufferFlush(&output) >= 0 && output.error == XML_ERR_OK;
}

std::span<const BYTE> BytesOf(const xmlOutputBuffer& output) {
    const xmlBuf* const bytes = output.encoder != nullptr ? output.conv : output.buffer;
    return {xmlBufContent(bytes), xmlBufUse(const_cast<xmlBuf*>(bytes))};
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
    const Output output = CreateOutput(encoding);
    const bool isWritten = WriteTo(*output, document, encoding);
    const std::span<const BYTE> bytes = BytesOf(*output);
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
