// The text of a parse error.
#include "utilities/xmlparser/xmlparseerror.h"

#include "utilities/base/formattext.h"

CXString nvutil::FormatParseError(const nvutil::XmlParseError& error) {
    if (error.errorCode == 0) return NV_TEXT("No MSXML Parse Error reported (error code = 0)");
    return FormatText(
        NV_TEXT("MSXML Parse Error in '%s' on line %ld and column %ld (%ld from start of file)\r\n\t%s\r\n")
            NV_TEXT("Error Code %ld/0x%lx: Reason=%s"),
        error.url, error.line, error.linePosition, error.filePosition, error.sourceText, error.errorCode,
        error.errorCode, error.reason);
}
