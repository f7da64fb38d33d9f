// Failures of COM calls, and platform strings and variants.
#include "utilities/xmlparser/windows/comcall.h"

#include <oleauto.h>

void nvutil::AddComReference(void* object) {
    static_cast<IUnknown*>(object)->AddRef();
}

void nvutil::ReleaseComReference(void* object) {
    static_cast<IUnknown*>(object)->Release();
}

namespace comcall {

namespace {

BSTR NewString(const CXString& text) {
    const auto bytes = static_cast<UINT>(text.GetLength()) * sizeof(WChar);
    const BSTR copy = SysAllocStringByteLen(nullptr, static_cast<UINT>(bytes));
    if (copy == nullptr) throw _com_error(E_OUTOFMEMORY);
    memcpy(copy, static_cast<const WChar*>(text), bytes);
    return copy;
}

CXString TextOf(BSTR text) {
    return {text, static_cast<int>(SysStringByteLen(text) / sizeof(WChar))};
}

}  // namespace

void ThrowComError(HRESULT result, IUnknown& object, const IID& interfaceId) {
    nvutil::ComPointer<ISupportErrorInfo> support;
    nvutil::ComPointer<IErrorInfo> information;
    const bool isTold = SUCCEEDED(object.QueryInterface(IID_ISupportErrorInfo,
                                                        reinterpret_cast<void**>(support.Receive()))) &&
                        support->InterfaceSupportsErrorInfo(interfaceId) == S_OK &&
                        GetErrorInfo(0, information.Receive()) == S_OK;
    throw _com_error(result, isTold ? information.Get() : nullptr, true);
}

String::String(const CXString& text) : m_text(NewString(text)) {}

CXString String::AsText() const {
    return TextOf(m_text);
}

Variant::Variant(const CXString& text) : Variant() {
    m_value.bstrVal = NewString(text);
    m_value.vt = VT_BSTR;
}

Variant::Variant(IUnknown* object) : Variant() {
    m_value.vt = VT_UNKNOWN;
    m_value.punkVal = object;
    object->AddRef();
}

CXString Variant::AsText() const {
    if (m_value.vt == VT_NULL) return {};
    if (m_value.vt == VT_BSTR) return TextOf(m_value.bstrVal);
    Variant converted;
    const HRESULT result = VariantChangeType(converted.Receive(), const_cast<VARIANT*>(&m_value), 0, VT_BSTR);
    if (FAILED(result)) throw _com_error(result);
    return converted.AsText();
}

}  // namespace comcall
