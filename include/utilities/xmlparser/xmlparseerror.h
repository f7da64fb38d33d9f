// XmlParseError: why a document was refused, and where.
#pragma once

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace nvutil {

/// A parse error in the platform's terms. Lines and columns count from 1; 0 stands for "not known".
struct XmlParseError {
    // What the check of documents refuses, by the system's own codes.
    static constexpr LONG malformed = static_cast<LONG>(0x8007000D);      ///< invalid data
    static constexpr LONG limitExceeded = static_cast<LONG>(0x800700DF);  ///< larger than the limit allowed
    static constexpr LONG accessRefused = static_cast<LONG>(0x80070005);  ///< access denied
    static constexpr LONG unsupported = static_cast<LONG>(0x80070032);    ///< not supported

    LONG errorCode = 0;  ///< 0 when there is no error
    CXString url;        ///< the document, or the DTD when the error is there
    CXString reason;
    CXString sourceText;  ///< the line that holds the error
    LONG line = 0;
    LONG linePosition = 0;  ///< column in characters
    LONG filePosition = 0;  ///< bytes from the start of the file
};

/// The text that users report: "MSXML Parse Error in 'a.xml' on line 3 and column 7 (21 from start of
/// file)…".
CXString FormatParseError(const XmlParseError& error);

}  // namespace nvutil
