// MicrosoftXmlParser over MSXML 3.0.
#include "utilities/xmlparser/microsoftxmlparser.h"

#include <comdef.h>
#include <msxml2.h>

#include <cstring>
#include <utility>

#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/xmlparser/comcall.h"
#include "utilities/xmlparser/comerrortext.h"
#include "utilities/xmlparser/microsoftparseerror.h"
#include "utilities/xmlparser/npifparseexception.h"
#include "utilities/xmlparser/xmldocumentcheck.h"
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
    /// A copy of the bytes.
    GlobalBlock(const unsigned char* data, DWORD length) : m_handle(GlobalAlloc(GMEM_FIXED, length)) {
        if (m_handle == nullptr) ThrowOutOfMemory(parsing, __LINE__);
        void* const bytes = GlobalLock(m_handle);
        if (bytes == nullptr) {
            GlobalFree(m_handle);
            ThrowOutOfMemory(parsing, __LINE__);
        }
        memcpy(bytes, data, length);
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
        if (m_bytes == nullptr && GetSize() > 0) ThrowOutOfMemory(writing, __LINE__);
    }
    ~LockedBlock() {
        if (m_bytes != nullptr) GlobalUnlock(m_handle);
    }
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;

    const BYTE* GetBytes() const { return static_cast<const BYTE*>(m_bytes); }
    std::uint32_t GetSize() const { return static_cast<std::uint32_t>(GlobalSize(m_handle)); }

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
    if (!Load(data, length)) {
        m_document.refuse(m_document.getParseError());
        NV_THROW_NPIFPARSE(NpifParseException::ErrorReportedDuringParse, parsing);
    }
}

bool MicrosoftXmlParser::Load(const unsigned char* data, DWORD length) {
    const GlobalBlock memory(data, length);
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
    if (!IsReadable({block.GetBytes(), block.GetSize()}))
        NV_THROW_NPIFPARSE(NpifParseException::XmlExceptionRaisedDuringXmlGeneration, writing);
    callback.handleOutput(block.GetBytes(), block.GetSize());
}

std::unique_ptr<XmlDomDocument> MicrosoftXmlParser::getDocument() {
    return std::make_unique<MicrosoftDomDocument>(m_document);
}

CXString MicrosoftXmlParser::formatCOMExceptionDisplayString(const _com_error& error) {
    return FormatComError(error);
}
