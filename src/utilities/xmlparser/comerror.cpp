// _com_error off Windows.
#include "utilities/xmlparser/comerror.h"

#include "platform/errortext.h"
#include "utilities/utilitiesdll/formattext.h"

namespace {

// The platform's own class says the same of codes without a message.
CXString MessageOf(HRESULT result) {
    const platform::Text text = platform::ErrorText(result);
    return text.empty() ? FormatText(NV_TEXT("Unknown error 0x%0lX"), result) : CXString(text.c_str());
}

}  // namespace

_com_error::_com_error(HRESULT result, const CXString& source, const CXString& description)
    : m_result(result), m_message(MessageOf(result)), m_source(source), m_description(description) {}

_com_error::_com_error(const _com_error& other) = default;
_com_error& _com_error::operator=(const _com_error& other) = default;
_com_error::~_com_error() = default;
