// NpifParseException: the names of its codes, and how it is thrown.
#include "utilities/xmlparser/npifparseexception.h"

#include <iterator>

#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

// By code. "CREATFILE" is deliberately spelled so, and the last name deliberately stands apart from its kin:
// users report these names and numbers.
constexpr const WChar* codeNames[] = {
    NV_TEXT("ILLEGAL_NPIFPARSE_EXCEPTION_CODE"),
    NV_TEXT("XMLEXCEPTION_RAISED_DURING_PARSE"),
    NV_TEXT("ERROR_REPORTED_DURING_PARSE"),
    NV_TEXT("XMLEXCEPTION_RAISED_DURING_XML_GENERATION"),
    NV_TEXT("HANDLEOUTPUT_METHOD_FAILED_IN_WRITECHARS"),
    NV_TEXT("DOMEXCEPTION_DURING_NODE_CONVERSION"),
    NV_TEXT("DOMEXCEPTION_DURING_NODE_CREATION"),
    NV_TEXT("NO_CATEGORY_FOR_NPIF_ATTRIBUTE"),
    NV_TEXT("NO_XML_SOURCE_BUFFER_SPECIFIED"),
    NV_TEXT("NO_XML_OUTPUT_RECEIVER_SPECIFIED"),
    NV_TEXT("REQUIRED_DTD_NOT_SPECIFIED"),
    NV_TEXT("TYPE_OF_XML_DATA_NOT_SPECIFIED"),
    NV_TEXT("READFILE_FAILED"),
    NV_TEXT("FAILED_ALLOCATION_OF_XML_FILE_BUFFER"),
    NV_TEXT("FAILED_GETFILESIZE_DURING_READ"),
    NV_TEXT("FAILED_CREATFILE_DURING_READ"),
    NV_TEXT("FILE_TO_READ_NOT_SPECIFIED"),
    NV_TEXT("FAILED_CREATFILE_DURING_WRITE"),
    NV_TEXT("FILE_TO_WRITE_NOT_SPECIFIED"),
    NV_TEXT("WRITEFILE_FAILED"),
    NV_TEXT("ATTEMPT_TO_INIT_NPXML_AFTER_TERMINATION"),
    NV_TEXT("MULTIPLE_TERMINATION_OF_NPXML"),
    NV_TEXT("XMLEXCEPTION_DURING_NPXML_INITIALIZATION"),
    NV_TEXT("NULL_DOMDOC_OBJECT_RETURNED"),
    NV_TEXT("COM_INITIALIZATION_FAILURE"),
    NV_TEXT("PARSE_RESULTED_IN_EMPTY_DOM_DOCUMENT"),
    NV_TEXT("NO_CATEGORY_FOR_NCAP_ATTRIBUTE"),
};

}  // namespace

NpifParseException::NpifParseException(const CXString& message, const CXString& sourceFile, int line,
                                       const CXString& functionName, const ExecutionContextStack& stack,
                                       short code)
    : NorvaException(message, sourceFile, line, functionName, stack), m_code(code) {}

NpifParseException::NpifParseException(const NpifParseException& other) = default;
NpifParseException::~NpifParseException() = default;

CXString NpifParseException::GetExceptionTypeByNumericCode() const {
    return FormatText(NV_TEXT("001:%03d"), m_code);
}

CXString NpifParseException::GetCodeString() const {
    const bool isKnown = m_code >= 0 && m_code < static_cast<short>(std::size(codeNames));
    return isKnown ? codeNames[m_code] : NV_TEXT("<Unknown code!!!>");
}

NpifParseException GetNpifParseException(const CXString& message, const CXString& sourceFile, int line,
                                         const CXString& functionName, const ExecutionContextStack& stack,
                                         short code) {
    return {message, sourceFile, line, functionName, stack, code};
}

void ThrowNpifParseException(NpifParseException::Code code, const char* function, const char* file,
                             int line) {
    const auto factory = [code](const CXString& message, const CXString& sourceFile, int siteLine,
                                const CXString& functionName, const ExecutionContextStack& stack) {
        return GetNpifParseException(message, sourceFile, siteLine, functionName, stack, code);
    };
    throwprotocol::Throw(factory, "NpifParseException", {throwprotocol::SourceFile(file), line, function},
                         [] { return throwprotocol::FormatMessageOfSite(); });
}
