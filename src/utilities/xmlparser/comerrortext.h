// The text of a COM error, in the one form that users report.
#pragma once

#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/xmlparser/comerror.h"

/// The system's message for a result; "Unknown error 0x…" when it has none.
CXString ComErrorMessage(HRESULT result);

/// "_com_error - Code=0x80004003. Message='…'. Source='…'. Description='…'"; absent texts are empty.
CXString FormatComError(const _com_error& error);
