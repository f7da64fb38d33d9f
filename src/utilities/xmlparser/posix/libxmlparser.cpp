// LibXmlParser over libxml2.
#include "utilities/xmlparser/libxmlparser.h"

#include <libxml/tree.h>
#include <libxml/xmlIO.h>

#include <span>
#include <string>
#include <utility>

#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"
#include "utilities/xmlparser/comerrortext.h"
#include "utilities/xmlparser/posix/libxmlreader.h"
#include "utilities/xmlparser/posix/libxmltree.h"
#include "utilities/xmlparser/xmldocumentcheck.h"
#include "utilities/xmlparser/xmlencoder.h"
#include "utilities/xmlparser/xmlfailure.h"
#include "utilities/xmlparser/xmlinput.h"

namespace {

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
