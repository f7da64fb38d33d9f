// Text values in a printer's driver data.
#pragma once

#include "environment/printer.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace storedtext {

/// A text value up to its first zero; empty when it is absent, no text or cannot be read. Throws nothing.
CXString Read(const Printer& printer, const CXString& valueName);

/// Adds or replaces a text value.
/// @throws ExceptionPrinterFailure
void Write(Printer& printer, const CXString& valueName, const CXString& text);

}  // namespace storedtext
