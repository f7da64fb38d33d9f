// MicrosoftXmlParser over MSXML 3.0.
#include "utilities/xmlparser/microsoftxmlparser.h"

#include <msxml2.h>

#include <comdef.h>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "utilities/xmlparser/windows/comcall.h"
#include "utilities/xmlparser/xmldocumentcheck.h"
#include "utilities/xmlparser/xmlencoding.h"
#include "utilities/xmlparser/xmlfailure.h"
#include "utilities/xmlparser/xmlinput.h"
#include "utilities/xmlparser/xmlparseerror.h"

namespace {

/// Counted without locks: like all of a document, it stays on one thread.
class OwnParseError final : public IXMLDOMParseError {
public:
    explicit OwnParseError(const nvutil::XmlParseError& error) : m_error(error) {}

    HRESULT WINAPI QueryInterface(REFIID id, void** object) override {
        if (object == nullptr) return E_POINTER;
        const bool isKnown = id == IID_IUnknown || id == IID_IDispatch || id == IID_IXMLDOMParseError;
        *object = isKnown ? this : nullptr;
        if (!isKnown) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG WINAPI AddRef() override { return ++m_references; }
    ULONG WINAPI Release() override {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }

    // Nobody scripts it.
    HRESULT WINAPI GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT WINAPI GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT WINAPI GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT WINAPI Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

    HRESULT WINAPI get_errorCode(long* code) override { return Give(m_error.errorCode, code); }
    HRESULT WINAPI get_url(BSTR* url) override { return Give(m_error.url, url); }
    HRESULT WINAPI get_reason(BSTR* reason) override { return Give(m_error.reason, reason); }
    HRESULT WINAPI get_srcText(BSTR* text) override { return Give(m_error.sourceText, text); }
    HRESULT WINAPI get_line(long* line) override { return Give(m_error.line, line); }
    HRESULT WINAPI get_linepos(long* position) override { return Give(m_error.linePosition, position); }
    HRESULT WINAPI get_filepos(long* position) override { return Give(m_error.filePosition, position); }

private:
    ~OwnParseError() = default;

    static HRESULT Give(LONG number, long* out) {
        if (out == nullptr) return E_POINTER;
        *out = number;
        return S_OK;
    }
    static HRESULT Give(const CXString& text, BSTR* out) {
        if (out == nullptr) return E_POINTER;
        *out = SysAllocStringLen(text, static_cast<UINT>(text.GetLength()));
        return *out != nullptr ? S_OK : E_OUTOFMEMORY;
    }

    ULONG m_references = 0;
    nvutil::XmlParseError m_error;
};

/// Makes an object that tells what the library's own check found, as the engine's objects do.
nvutil::ComPointer<IXMLDOMParseError> MakeParseError(const nvutil::XmlParseError& error) {
    auto* const object = new OwnParseError(error);
    object->AddRef();
    nvutil::ComPointer<IXMLDOMParseError> pointer;
    *pointer.Receive() = object;
    return pointer;
}

namespace fs = std::filesystem;

constexpr std::string_view utf8 = "UTF-8";

/// Global memory of the platform.
class GlobalBlock {
public:
    /// A copy of a text.
    explicit GlobalBlock(std::string_view text) : m_handle(GlobalAlloc(GMEM_FIXED, text.size())) {
        if (m_handle == nullptr) xmlfailure::ThrowOutOfMemoryWhileReading();
        void* const bytes = GlobalLock(m_handle);
        if (bytes == nullptr) {
            GlobalFree(m_handle);
            xmlfailure::ThrowOutOfMemoryWhileReading();
        }
        memcpy(bytes, text.data(), text.size());
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
        if (m_bytes == nullptr && GlobalSize(handle) > 0) xmlfailure::ThrowOutOfMemoryWhileWriting();
    }
    ~LockedBlock() {
        if (m_bytes != nullptr) GlobalUnlock(m_handle);
    }
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;

    std::string_view Get() const { return {static_cast<const char*>(m_bytes), GlobalSize(m_handle)}; }

private:
    HGLOBAL m_handle;
    void* m_bytes;
};

/// @return null when there is no memory for it
nvutil::ComPointer<IStream> CreateStream(HGLOBAL memory, bool deleteOnRelease) {
    nvutil::ComPointer<IStream> stream;
    if (FAILED(CreateStreamOnHGlobal(memory, deleteOnRelease, stream.Receive()))) return {};
    return stream;
}

/// A text in UTF-8 whose declaration, where it has one, names another encoding from now on. For an engine,
/// longer names make place for blanks, so that what follows keeps its column.
std::string Redeclared(std::string_view text, std::string_view encoding) {
    std::string changed(text);
    const std::string_view name = DeclaredEncodingOf(text);
    if (name.empty()) return changed;
    const auto at = static_cast<std::size_t>(name.data() - text.data());
    const char quote = text[at + name.size()];
    std::string value = std::string(encoding) + quote;
    if (encoding == utf8 && encoding.size() < name.size()) value.append(name.size() - encoding.size(), ' ');
    return changed.replace(at, name.size() + 1, value);
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

/// The checked DTD of a document for an engine that reads it by itself: a copy in UTF-8, in a folder of its
/// own, for as long as the object lives.
class CheckedDtd {
public:
    explicit CheckedDtd(const nvutil::CheckedDocument& document) {
        if (!document.hasExternalDtd || !document.dtd.IsConverted()) return;
        m_isNeeded = true;
        const fs::path original(static_cast<const wchar_t*>(document.dtdPath));
        const std::string text = Redeclared(document.dtd.Get(), utf8);
        GUID unique;
        wchar_t name[40] = {};
        if (FAILED(CoCreateGuid(&unique)) || StringFromGUID2(unique, name, 40) == 0) return;
        std::error_code error;
        const fs::path folder = fs::temp_directory_path(error) / name;
        if (error || !fs::create_directory(folder, error)) return;
        m_folder = folder;
        std::ofstream out(folder / original.filename(), std::ios::binary);
        out << text;
        m_isWritten = static_cast<bool>(out.flush());
    }
    ~CheckedDtd() {
        std::error_code ignored;
        if (!m_folder.empty()) fs::remove_all(m_folder, ignored);
    }
    CheckedDtd(const CheckedDtd&) = delete;
    CheckedDtd& operator=(const CheckedDtd&) = delete;

    /// Whether the engine has to be given a copy.
    bool IsNeeded() const { return m_isNeeded; }
    bool IsWritten() const { return m_isWritten; }
    CXString GetFolder() const { return m_folder.c_str(); }

private:
    fs::path m_folder;
    bool m_isNeeded = false;
    bool m_isWritten = false;
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
    nvutil::CheckedDocument document;
    if (const auto refusal = CheckDocument({data, length}, systemId, validate, document)) {
        m_document.refuse(MakeParseError(*refusal));
        xmlfailure::ThrowRefused();
    }
    if (!Load(document)) {
        nvutil::XmlParseError error = MicrosoftDomDocument::ReadParseError(m_document.getParseError());
        if (error.url.IsEmpty()) error.url = systemId;  // what came from memory has no name to the engine
        m_document.refuse(MakeParseError(error));
        xmlfailure::ThrowRefused();
    }
    m_declaredEncoding = document.text.GetDeclaredEncoding();
}

// The engine gets what has been checked, in UTF-8: it may know fewer encodings, or read them otherwise.
bool MicrosoftXmlParser::Load(const nvutil::CheckedDocument& document) {
    const GlobalBlock memory(Redeclared(document.text.Get(), utf8));
    const nvutil::ComPointer<IStream> stream = CreateStream(memory.Get(), false);
    if (!stream) xmlfailure::ThrowOutOfMemoryWhileReading();
    const CheckedDtd dtd(document);
    if (dtd.IsNeeded() && !dtd.IsWritten()) {  // the engine must not read the original by itself
        nvutil::XmlParseError error;
        error.errorCode = nvutil::XmlParseError::accessRefused;
        error.url = document.dtdPath;
        error.reason = NV_TEXT("The DTD cannot be given to the engine in UTF-8.");
        m_document.refuse(MakeParseError(error));
        return false;
    }
    const CurrentDirectory directory(!validate         ? CXString()
                                     : dtd.IsWritten() ? dtd.GetFolder()
                                                       : FolderOf(systemId));
    m_document.setValidateOnParse(validate);
    return m_document.load(stream.Get()) != VARIANT_FALSE && (!validate || IsValid());
}

// Some engines validate only when asked. A document without a DTD has nothing to be held to.
bool MicrosoftXmlParser::IsValid() {
    nvutil::ComPointer<IXMLDOMParseError> error;
    if (m_document.validate(error)) return true;
    LONG code = 0;
    comcall::Check(comcall::Require(error).get_errorCode(&code), *error.Get());
    if (code == static_cast<LONG>(E_XML_NODTD)) return true;
    m_document.refuse(std::move(error));
    return false;
}

void MicrosoftXmlParser::convertToXmlStream(XmlOutputCallback& callback) {
    const nvutil::ComPointer<IStream> stream = CreateStream(nullptr, true);
    if (!stream) xmlfailure::ThrowOutOfMemoryWhileWriting();
    if (FAILED(m_document.save(stream.Get()))) {
        m_document.getParseError();
        xmlfailure::ThrowNotWritten();
    }
    HGLOBAL memory = nullptr;
    if (FAILED(GetHGlobalFromStream(stream.Get(), &memory))) xmlfailure::ThrowOutOfMemoryWhileWriting();
    const LockedBlock block(memory);
    const std::string document = Redeclared(block.Get(), m_declaredEncoding);
    std::string_view text = document;
    std::string storage;
    if (!EncodeDocument(text, storage)) xmlfailure::ThrowNotWritten();
    const std::span<const BYTE> bytes(reinterpret_cast<const BYTE*>(text.data()), text.size());
    nvutil::CheckedDocument written;
    if (CheckDocument(bytes, systemId, false, written)) xmlfailure::ThrowNotWritten();
    callback.handleOutput(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

std::unique_ptr<XmlDomDocument> MicrosoftXmlParser::getDocument() {
    return std::make_unique<MicrosoftDomDocument>(m_document);
}

CXString MicrosoftXmlParser::formatCOMExceptionDisplayString(const _com_error& error) {
    return FormatComError(error);
}
