// The sites that failures of the XML layer are thrown from, and the texts of what engines report.
#pragma once

#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/xmlparser/comerror.h"

/// Users report a failure by the identifier that its class and its line make up. So a fault has one
/// identifier, whichever engine met it and whatever part of the layer found it, and keeps it in later
/// versions.
namespace xmlfailure {

/// A document is refused.
/// @throws NpifParseException (ErrorReportedDuringParse), "001:002:0165"
[[noreturn]] void ThrowRefused();
/// What was built cannot be written so that it can be read again.
/// @throws NpifParseException (XmlExceptionRaisedDuringXmlGeneration), "001:003:0198"
[[noreturn]] void ThrowNotWritten();
/// @throws ExceptionOutOfMemory, "072:000:0039"
[[noreturn]] void ThrowOutOfMemoryWhileReading();
/// @throws ExceptionOutOfMemory, "072:000:0201"
[[noreturn]] void ThrowOutOfMemoryWhileWriting();

}  // namespace xmlfailure

/// The system's message for a result; "Unknown error 0x…" when it has none.
CXString ComErrorMessage(HRESULT result);

/// "_com_error - Code=0x80004003. Message='…'. Source='…'. Description='…'"; absent texts are empty.
CXString FormatComError(const _com_error& error);
