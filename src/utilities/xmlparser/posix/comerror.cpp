// _com_error off Windows.
#include "utilities/xmlparser/comerror.h"

#include "utilities/xmlparser/xmlfailure.h"

_com_error::_com_error(HRESULT result, const CXString& source, const CXString& description)
    : m_result(result), m_message(ComErrorMessage(result)), m_source(source), m_description(description) {}

_com_error::_com_error(const _com_error& other) = default;
_com_error& _com_error::operator=(const _com_error& other) = default;
_com_error::~_com_error() = default;
