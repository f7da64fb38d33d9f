// A parse error of the library's own as a COM object.
#include "utilities/xmlparser/windows/microsoftparseerror.h"

#include "utilities/xmlparser/windows/comcall.h"

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

}  // namespace

nvutil::ComPointer<IXMLDOMParseError> MakeParseError(const nvutil::XmlParseError& error) {
    auto* const object = new OwnParseError(error);
    object->AddRef();
    nvutil::ComPointer<IXMLDOMParseError> pointer;
    *pointer.Receive() = object;
    return pointer;
}
