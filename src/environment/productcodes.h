// What the values of properties stand for, where they are codes or numbers.
#pragma once

#include "platform/types.h"
#include "utilities/attributebytes/datamodelids.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace productcodes {

/// 0 for an unknown code, as for every function here.
DataModelIds::tagControllerFamilyEnum ControllerFamilyOf(const CXString& code);
DataModelIds::tagCompanyEnum CompanyOf(const CXString& code);
/// Bits of ProductData::SupportedPdl: of all languages whose names occur in a text, in any case.
DWORD SupportedPdlsOf(const CXString& languages);

/// The number at the beginning of a text, behind white space; 0 when there is none or it is out of range.
double LeadingNumber(const CXString& text);
int LeadingInteger(const CXString& text);

}  // namespace productcodes
