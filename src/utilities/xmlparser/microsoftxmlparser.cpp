// MicrosoftXmlParser over MSXML 3.0.
#include "utilities/xmlparser/microsoftxmlparser.h"

#include <comdef.h>
#include <msxml2.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/xmlparser/comcall.h"
#include "utilities/xmlparser/comerrortext.h"
#include "utilities/xmlparser/microsoftparseerror.h"
#include "utilities/xmlparser/npifparseexception.h"
#include "utilities/xmlparser/xmldocumentcheck.h"
#include "utilities/xmlparser/xmlencoder.h"
#include "utilities/xmlparser/xmlinput.h"

namespace {

constexpr auto parsing = "MicrosoftXmlParser::parse";
constexpr auto writing = "MicrosoftXmlParser::convertToXmlStream";

[[noreturn]] void ThrowOutOfMemory(const char* function, int line) {
    NV_THROW(ExceptionOutOfMemory, function, line);
}

/// Global memory of the platform.
class GlobalBlock {
public:
    /// A copy of the bytes behind a mark.
    GlobalBlock(std::string_view mark, std::span<const BYTE> content)
        : m_handle(GlobalAlloc(GMEM_FIXED, mark.size() + content.size())) {
        if (m_handle == nullptr) ThrowOutOfMemory(parsing, __LINE__);
        void* const bytes = GlobalLock(m_handle);
        if (bytes == nullptr) {
            GlobalFree(m_handle);
            ThrowOutOfMemory(parsing, __LINE__);
        }
        memcpy(bytes, mark.data(), mark.size());
        memcpy(static_cast<BYTE*>(bytes) + mark.size(), content.data(), content.size());
        GlobalUnlock(m_handle);
    }
    ~GlobalBlock() { GlobalFree(m_handle); }
    GlobalBlock(const GlobalBlock&) = delete;
    GlobalBlock& operator=(const GlobalBlock&) = delete;

    HGLOBAL Get() const { return m_handle; }

private:
    HGLOBAL m_handle;
};

/// Global memory of a stream, locked for reading.
class LockedBlock {
public:
    /// Memory without a byte cannot be locked, nor need it be.
    explicit LockedBlock(HGLOBAL handle)
        : m_handle(handle), m_bytes(GlobalSize(handle) > 0 ? GlobalLock(handle) : nullptr) {
        if (m_bytes == nullptr && GlobalSize(handle) > 0) ThrowOutOfMemory(writing, __LINE__);
    }
    ~LockedBlock() {
        if (m_bytes != nullptr) GlobalUnlock(m_handle);
    }
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;

    std::span<const BYTE> Get() const { return {static_cast<const BYTE*>(m_bytes), GlobalSize(m_handle)}; }

private:
    HGLOBAL m_handle;
    void* m_bytes;
};

ComPointer<IStream> CreateStream(HGLOBAL memory, bool deleteOnRelease, const char* function) {
    ComPointer<IStream> stream;
    if (FAILED(CreateStreamOnHGlobal(memory, deleteOnRelease, stream.Receive())))
        ThrowOutOfMemory(function, __LINE__);
    return stream;
}

/// The mark that an engine needs to know UTF-16 by; empty for other encodings.
std::string_view MarkOf(XmlEncoding encoding) {
    if (encoding == XmlEncoding::Utf16LittleEndian) return "\xFF\xFE";
    return encoding == XmlEncoding::Utf16BigEndian ? "\xFE\xFF" : "";
}

std::span<const BYTE> BytesOf(const std::string& text) {
    return {reinterpret_cast<const BYTE*>(text.data()), text.size()};
}

/// Whether the engine writes UTF-8 whatever a document declares, as some do.
bool WritesOnlyUtf8() {
    std::string probe = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xE4</r>";
    MicrosoftDomDocument document;
    const GlobalBlock memory({}, BytesOf(probe));
    document.setValidateOnParse(false);
    document.load(CreateStream(memory.Get(), false, writing).Get());
    const ComPointer<IStream> stream = CreateStream(nullptr, true, writing);
    HGLOBAL written = nullptr;
    if (FAILED(document.save(stream.Get())) || FAILED(GetHGlobalFromStream(stream.Get(), &written)))
        ThrowOutOfMemory(writing, __LINE__);
    const LockedBlock block(written);
    return std::ranges::count(block.Get(), BYTE{0xC3}) > 0;
}

/// What an engine wrote in UTF-8 against the declaration, in the encoding declared; nothing when there is no
/// need.
std::optional<std::string> InDeclaredEncoding(std::span<const BYTE> bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::optional<XmlEncoding> encoding = DeclaredEncoding(text);  // no UTF-16 begins with ASCII
    const auto isBeyondAscii = [](BYTE byte) { return byte >= 0x80; };
    if (encoding == XmlEncoding::Utf8) return {};
    const bool isWide = encoding == XmlEncoding::Utf16LittleEndian;
    if (!isWide && (std::ranges::none_of(bytes, isBeyondAscii) || !WritesOnlyUtf8())) return {};
    std::string encoded;
    if (!EncodeDocument(text, encoded))
        NV_THROW_NPIFPARSE(NpifParseException::XmlExceptionRaisedDuringXmlGeneration, writing);
    return encoded;
}

/// Makes a folder the current one for as long as the object lives, so that the engine finds a DTD there.
class CurrentDirectory {
public:
    /// @param folder  empty to leave everything as it is
    explicit CurrentDirectory(const CXString& folder) {
        const DWORD length = folder.IsEmpty() ? 0 : GetCurrentDirectoryW(MAX_PATH, m_saved);
        m_isChanged = length > 0 && length < MAX_PATH && SetCurrentDirectoryW(folder) != FALSE;
    }
    ~CurrentDirectory() {
        if (m_isChanged) SetCurrentDirectoryW(m_saved);
    }
    CurrentDirectory(const CurrentDirectory&) = delete;
    CurrentDirectory& operator=(const CurrentDirectory&) = delete;

private:
    wchar_t m_saved[MAX_PATH] = {};
    bool m_isChanged;
};

}  // namespace

MicrosoftXmlParser::MicrosoftXmlParser(const CXString& documentPath, bool mustBeValid)
    : NorvaXmlParser(documentPath, mustBeValid) {}

MicrosoftXmlParser::~MicrosoftXmlParser() = default;

bool MicrosoftXmlParser::parse(const CXString& fileName) {
    ByteBuffer bytes;
    if (!ReadDocumentFile(fileName, bytes)) return false;
    parse(bytes.getLpbyte(), bytes.getDword());
    return true;
}

void MicrosoftXmlParser::parse(unsigned char* data, DWORD length) {
    if (data == nullptr || length == 0) return;
    CheckedDocument document;
    if (const auto refusal = CheckDocument({data, length}, systemId, validate, document)) {
        m_document.refuse(MakeParseError(*refusal));
        NV_THROW_NPIFPARSE(NpifParseException::ErrorReportedDuringParse, parsing);
    }
    if (!Load(document.text, {data, length})) {
        XmlParseError error = MicrosoftDomDocument::ReadParseError(m_document.getParseError());
        if (error.url.IsEmpty()) error.url = systemId;  // what came from memory has no name to the engine
        m_document.refuse(MakeParseError(error));
        NV_THROW_NPIFPARSE(NpifParseException::ErrorReportedDuringParse, parsing);
    }
}

bool MicrosoftXmlParser::Load(const XmlText& text, std::span<const BYTE> bytes) {
    const GlobalBlock memory(text.HasMark() ? std::string_view() : MarkOf(text.GetEncoding()), bytes);
    const ComPointer<IStream> stream = CreateStream(memory.Get(), false, parsing);
    const CurrentDirectory directory(validate ? FolderOf(systemId) : CXString());
    m_document.setValidateOnParse(validate);
    return m_document.load(stream.Get()) != VARIANT_FALSE && (!validate || IsValid());
}

// Some engines validate only when asked. A document without a DTD has nothing to be held to.
bool MicrosoftXmlParser::IsValid() {
    ComPointer<IXMLDOMParseError> error;
    if (m_document.validate(error)) return true;
    LONG code = 0;
    comcall::Check(comcall::Require(error).get_errorCode(&code), *error.Get());
    if (code == static_cast<LONG>(E_XML_NODTD)) return true;
    m_document.refuse(std::move(error));
    return false;
}

void MicrosoftXmlParser::convertToXmlStream(XmlOutputCallback& callback) {
    const ComPointer<IStream> stream = CreateStream(nullptr, true, writing);
    if (FAILED(m_document.save(stream.Get()))) {
        m_document.getParseError();
        NV_THROW_NPIFPARSE(NpifParseException::XmlExceptionRaisedDuringXmlGeneration, writing);
    }
    HGLOBAL memory = nullptr;
    if (FAILED(GetHGlobalFromStream(stream.Get(), &memory))) ThrowOutOfMemory(writing, __LINE__);
    const LockedBlock block(memory);
    const std::optional<std::string> recoded = InDeclaredEncoding(block.Get());
    const std::span<const BYTE> bytes = recoded ? BytesOf(*recoded) : block.Get();
    CheckedDocument written;
    if (CheckDocument(bytes, systemId, false, written))
        NV_THROW_NPIFPARSE(NpifParseException::XmlExceptionRaisedDuringXmlGeneration, writing);
    callback.handleOutput(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

std::unique_ptr<XmlDomDocument> MicrosoftXmlParser::getDocument() {
    return std::make_unique<MicrosoftDomDocument>(m_document);
}

CXString MicrosoftXmlParser::formatCOMExceptionDisplayString(const _com_error& error) {
    return FormatComError(error);
}
