// Calls to COM objects: failures become _com_error, and platform strings and variants are held by scope.
#pragma once

#include <comdef.h>
#include <msxml2.h>

#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/xmlparser/microsoftxmlparser.h"

namespace comcall {

/// The object behind a pointer.
/// @throws _com_error (E_POINTER) when there is none
template <class Interface>
Interface& Require(const nvutil::ComPointer<Interface>& object) {
    if (!object) throw _com_error(E_POINTER);
    return *object.Get();
}

/// The interface of documents, which the cross-compiler's libraries lack.
inline constexpr IID documentInterface = {
    0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

// The interfaces that the library calls, by their types: the cross-compiler's headers cannot tell.
inline const IID& IdOf(const IXMLDOMDocument2&) {
    return documentInterface;
}
inline const IID& IdOf(const IXMLDOMElement&) {
    return IID_IXMLDOMElement;
}
inline const IID& IdOf(const IXMLDOMNamedNodeMap&) {
    return IID_IXMLDOMNamedNodeMap;
}
inline const IID& IdOf(const IXMLDOMNode&) {
    return IID_IXMLDOMNode;
}
inline const IID& IdOf(const IXMLDOMNodeList&) {
    return IID_IXMLDOMNodeList;
}
inline const IID& IdOf(const IXMLDOMParseError&) {
    return IID_IXMLDOMParseError;
}

[[noreturn]] void ThrowComError(HRESULT result, IUnknown& object, const IID& interfaceId);

/// Throws _com_error, with what the object tells about the failure, when a call to it failed.
template <class Interface>
void Check(HRESULT result, Interface& object) {
    if (FAILED(result)) ThrowComError(result, object, IdOf(object));
}

/// A platform string.
class String {
public:
    /// An empty string, to receive one.
    String() = default;
    /// @throws _com_error (E_OUTOFMEMORY)
    explicit String(const CXString& text);
    ~String() { SysFreeString(m_text); }
    String(const String&) = delete;
    String& operator=(const String&) = delete;

    BSTR Get() const { return m_text; }
    BSTR* Receive() { return &m_text; }
    CXString AsText() const;

private:
    BSTR m_text = nullptr;
};

/// A platform variant.
class Variant {
public:
    Variant() { VariantInit(&m_value); }
    /// Holds a copy of the text.
    explicit Variant(const CXString& text);
    /// Refers to an object, with a reference of its own.
    explicit Variant(IUnknown* object);
    ~Variant() { VariantClear(&m_value); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    const VARIANT& Get() const { return m_value; }
    VARIANT* Receive() { return &m_value; }
    /// Empty for a null variant; what is not text is converted to it.
    /// @throws _com_error when it cannot be converted
    CXString AsText() const;

private:
    VARIANT m_value;
};

}  // namespace comcall
