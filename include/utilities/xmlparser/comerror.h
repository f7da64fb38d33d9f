// _com_error: the failure of a call to the XML engine, with its HRESULT.
//
// On Windows it is the platform's own class, whose header brings the platform's with it: include this file
// only where such errors are caught.
#pragma once

#if defined(_WIN32)

#include <comdef.h>

#else

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

// The codes that the layer itself raises, by the platform's names.
constexpr auto E_FAIL = static_cast<HRESULT>(0x80004005);
constexpr auto E_INVALIDARG = static_cast<HRESULT>(0x80070057);
constexpr auto E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
constexpr auto E_POINTER = static_cast<HRESULT>(0x80004003);

/// The same error off Windows, with the members that callers use.
class NVUTIL_API _com_error {
public:
    explicit _com_error(HRESULT result, const CXString& source = CXString(),
                        const CXString& description = CXString());
    _com_error(const _com_error& other);
    _com_error& operator=(const _com_error& other);
    virtual ~_com_error();

    HRESULT Error() const { return m_result; }
    /// The system's message for the HRESULT: "Invalid pointer".
    const WChar* ErrorMessage() const { return m_message; }
    /// The interface that failed; may be empty.
    const CXString& Source() const { return m_source; }
    /// What it could not do; may be empty.
    const CXString& Description() const { return m_description; }

private:
    HRESULT m_result;
    CXString m_message;
    CXString m_source;
    CXString m_description;
};

#endif
